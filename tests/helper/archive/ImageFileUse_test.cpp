#include "helper/archive/ImageFileUse.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "helper/archive/DiskSource.h"
#include "helper/archive/TestFiles.h"
#include "helper/archive/UserWorld.h"
#include "helper/process/ServingTool.h"

namespace zpk {
namespace {

using test::ScratchFolder;
using test::UserWorld;

class ImageFileUse : public testing::Test {
 protected:
  void SetUp() override {
    test::writeAll(path, std::string(1 << 20, 'x'));
    ::chmod(folder.path().c_str(), 0755);
  }

  FileDescriptor open(int flags) const { return FileDescriptor(::open(path.c_str(), flags | O_CLOEXEC)); }
  bool isWritten() const { return isOpenForWriting(open(O_RDONLY)); }
  // As a user sees it who does not own the file.
  std::string seenByOthers() const {
    return UserWorld(UserWorld::nobody).run([this] { return isWritten() ? "written" : "free"; });
  }

  ScratchFolder folder;
  const std::string path = folder / "disk.img";
};

TEST_F(ImageFileUse, ReadersDoNotCount) {
  const FileDescriptor reader = open(O_RDONLY);
  ASSERT_TRUE(reader);
  EXPECT_FALSE(isWritten());
  EXPECT_FALSE(isWritten()) << "the question itself left something behind";
  const FileDescriptor writer = open(O_RDWR | O_NONBLOCK);
  EXPECT_TRUE(writer) << "the question keeps others from writing";
}

TEST_F(ImageFileUse, AnyWriterCounts) {
  FileDescriptor writer = open(O_RDWR);
  EXPECT_TRUE(isWritten());
  writer.reset();
  EXPECT_FALSE(isWritten());
}

TEST_F(ImageFileUse, AnImageThatIsOpenForWritingIsNoSource) {
  const FileDescriptor writer = open(O_WRONLY);
  const ArchiveResult<DiskSource> source = DiskSource::open(path);
  ASSERT_FALSE(source.hasValue());
  EXPECT_EQ(source.error().fault, ArchiveFault::SourceUnfit);
  EXPECT_THAT(source.error().message, testing::HasSubstr("virtual machine"));
}

TEST_F(ImageFileUse, OfAFileThatBelongsToAnotherTheLocksOfQemuTell) {
  EXPECT_EQ(seenByOthers(), "free");
  ToolCommand command;
  command.executable = "/usr/bin/qemu-storage-daemon";
  command.arguments = {"--blockdev",   "driver=file,node-name=disk,filename=" + path,
                       "--nbd-server", "addr.type=unix,addr.path=" + (folder / "socket"),
                       "--export",     "type=nbd,id=export,node-name=disk,writable=on",
                       "--chardev",    "file,id=ready,path=/proc/self/fd/1",
                       "--monitor",    "chardev=ready"};
  command.limits.memoryBytes = std::uint64_t{2} << 30U;
  command.access = ToolAccess::ReadsAndWrites;
  const CancelFlag never;
  const auto machine = ServingTool::start(command, never);
  ASSERT_TRUE(machine.hasValue()) << machine.error().errors;
  EXPECT_EQ(seenByOthers(), "written");
}

}  // namespace
}  // namespace zpk
