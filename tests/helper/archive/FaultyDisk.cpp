#include "helper/archive/FaultyDisk.h"

#include <signal.h>
#include <spawn.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <thread>

namespace zpk::test {
namespace {

namespace fs = std::filesystem;

bool waitFor(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

}  // namespace

FaultyDisk::FaultyDisk(const ScratchFolder& folder, const std::string& image)
    : _mountPoint(folder / "faulty"), _faults(folder / "faults"), _path(_mountPoint + "/disk.img") {
  fs::create_directories(_mountPoint);
  setBad({});
  std::string program = ZPK_FAULTY_DISK;
  std::vector<std::string> words{program, image, _faults, _mountPoint};
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  if (::posix_spawn(&_process, program.c_str(), nullptr, nullptr, arguments.data(), environ) != 0) _process = -1;
  std::error_code error;
  const bool isThere = _process > 0 && waitFor([&] { return fs::exists(_path, error); });
  EXPECT_TRUE(isThere) << "no faulty disk";
}

FaultyDisk::~FaultyDisk() {
  // Whatever still has it open keeps it until it is done.
  EXPECT_EQ(::umount2(_mountPoint.c_str(), MNT_DETACH), 0);
  int status = 0;
  if (_process <= 0) return;
  const bool ended = waitFor([&] { return ::waitpid(_process, &status, WNOHANG) == _process; });
  EXPECT_TRUE(ended) << "somebody still has the disk open";
  if (!ended && ::kill(_process, SIGKILL) == 0) ::waitpid(_process, &status, 0);
}

void FaultyDisk::setBad(const std::vector<ByteRange>& ranges) const {
  std::string text;
  for (const ByteRange& range : ranges) {
    text += "bad " + std::to_string(range.start) + " " + std::to_string(range.end) + "\n";
  }
  writeAll(_faults, text);
}

void FaultyDisk::goAfter(std::uint64_t reads, int errorNumber) const {
  writeAll(_faults, "gone " + std::to_string(reads) + " " + std::to_string(errorNumber) + "\n");
}

std::uint64_t FaultyDisk::refused() const {
  std::error_code error;
  const std::uintmax_t size = fs::file_size(_faults + ".hits", error);
  return error ? 0 : size;
}

}  // namespace zpk::test
