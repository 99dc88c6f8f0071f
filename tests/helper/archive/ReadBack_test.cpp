// A check that reads what the page cache remembers of a write proves nothing about the medium.

#include <dlfcn.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "helper/archive/PointCheck.h"
#include "helper/archive/SmallArchive.h"

namespace {

// Files of which the kernel was told to drop what it remembers.
std::set<std::string>& dropped() {
  static std::set<std::string> names;
  return names;
}

}  // namespace

// In place of the C library's, to which it goes on.
extern "C" int posix_fadvise(int fd, off_t offset, off_t size, int advice) {
  using Call = int (*)(int, off_t, off_t, int);
  static const auto real = reinterpret_cast<Call>(::dlsym(RTLD_NEXT, "posix_fadvise"));
  if (advice == POSIX_FADV_DONTNEED && offset == 0 && size == 0) {
    dropped().insert(std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fd)).string());
  }
  return real(fd, offset, size, advice);
}

namespace zpk {
namespace {

TEST(ReadBack, TakesImageMapAndIndexFromTheMedium) {
  const test::ScratchFolder folder;
  const test::SmallArchive small(folder / "a.rldbackup", 2, 1, 5);
  const ArchiveResult<Archive> archive = Archive::openForReading(folder / "a.rldbackup");
  dropped().clear();
  ASSERT_TRUE(checkOwnImages(*archive, 1, [](std::uint64_t) {}, {}).hasValue());
  const std::string point = folder / "a.rldbackup/" + small.points()[1];
  EXPECT_THAT(dropped(),
              testing::IsSupersetOf({point + "/disk0.pvhd", point + "/disk0.map", point + "/index.json"}));
  EXPECT_TRUE(dropped().contains(folder / "a.rldbackup/" + small.points()[0] + "/disk0.map"))
      << "what the image has to hold is known from the parent's";
}

}  // namespace
}  // namespace zpk
