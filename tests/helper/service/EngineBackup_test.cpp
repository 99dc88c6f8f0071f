// Backups as the service makes them, of a disk with faults.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "helper/archive/DeviceIdentity.h"
#include "helper/archive/FaultyDisk.h"
#include "helper/archive/SampleDisk.h"
#include "helper/disks/DiskScanner.h"
#include "helper/service/EngineArchives.h"
#include "records/RLDArchive.h"
#include "records/RLDArchiveItem.h"
#include "records/ZPKDisk.h"
#include "support/RecordingLog.h"

namespace zpk {
namespace {

using test::FaultyDisk;
using test::SampleDisk;
using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

class EngineBackups : public testing::Test {
 protected:
  EngineBackups() {
    DiskScannerOptions options;
    options.imageFolders = {folder.path()};
    options.probeProgram = ZPK_PROBE;
    options.iconFolder = "/icons";
    DiskScanner scanner(std::move(options), log);
    for (const auto& found : scanner.scan(cancel)) {
      if (found->filePath() != disk.path()) continue;
      // The same disk, read through the faults.
      RLDDisk::Fields fields = found->fields();
      fields.filePath = faulty.path();
      order.disk = ZPKDisk::initWithDisk(RLDDisk(std::move(fields)));
    }
    EXPECT_NE(order.disk, nullptr) << testing::PrintToString(log.lines());
    const FileDescriptor open(::open(faulty.path().c_str(), O_RDONLY | O_CLOEXEC));
    order.device = identityOfOpen(open.get());
    order.archivePath = folder / "a.rldbackup";
  }

  // Somewhere in a file's content.
  ByteRange someSector() const {
    const std::string content =
        test::mustRun("/usr/bin/ntfscat", {"--force", folder / "volume.img", "/Users/large"});
    const std::size_t place =
        test::readAll(disk.path()).find(content.substr(1'000'000, 4096), SampleDisk::volumeStart);
    EXPECT_NE(place, std::string::npos);
    return {place / 512 * 512, place / 512 * 512 + 512};
  }
  OperationDone mustBackUp() {
    if (!order.disk) return {};
    const OperationOutcome outcome = archives.backup(order, board, cancel);
    if (const auto* failed = std::get_if<OperationFailed>(&outcome)) ADD_FAILURE() << failed->reason;
    lines = board.take().lines;
    const auto* done = std::get_if<OperationDone>(&outcome);
    return done ? *done : OperationDone{};
  }
  std::size_t points() {
    return std::get<PresentArchive>(archives.look(order.archivePath, std::nullopt)).archive->items().size();
  }

  test::ScratchFolder folder;
  SampleDisk disk{folder};
  FaultyDisk faulty{folder, disk.path()};
  RecordingLog log;
  EngineArchives archives{folder / "export", ""};
  BackupOrder order;
  OperationBoard board;
  CancelFlag cancel;
  std::vector<std::string> lines;
};

TEST_F(EngineBackups, OfABadSectorTellItEverywhereAndKeepThePointThatMayHoldIt) {
  order.maxIncrements = 0;
  EXPECT_EQ(mustBackUp().remark, std::nullopt);
  const ByteRange bad = someSector();
  faulty.setBad({bad});
  const OperationDone lacking = mustBackUp();
  EXPECT_GT(faulty.refused(), 0U) << "the fault was not there";
  ASSERT_TRUE(lacking.remark.has_value());
  EXPECT_THAT(*lacking.remark, HasSubstr("It was completed with 1 unreadable sector."));
  EXPECT_THAT(lines, Contains(*lacking.remark)) << "the log has it as well";
  EXPECT_THAT(lines, Contains(HasSubstr("bytes " + std::to_string(bad.start) + " to ")));
  EXPECT_THAT(lines, Contains(HasSubstr("1 unreadable sector that the one before it")));
  EXPECT_EQ(points(), 2U) << "the older one may hold it";

  // It stays bad, and all the same there are no more and more points.
  EXPECT_TRUE(mustBackUp().remark.has_value());
  EXPECT_THAT(lines, Contains(AllOf(HasSubstr("2 increments, 0 are to be kept"), HasSubstr("is merged into"))));
  EXPECT_EQ(points(), 2U);

  // Once it can be read, nothing is kept for it.
  faulty.setBad({});
  EXPECT_EQ(mustBackUp().remark, std::nullopt);
  EXPECT_EQ(points(), 1U);
}

TEST_F(EngineBackups, EndWithAllOfItShownAsDone) {
  order.maxIncrements = 0;
  mustBackUp();
  mustBackUp();
  EXPECT_THAT(lines, Contains(HasSubstr("is merged into"))) << "which is told in the log alone";
  const OperationBoard::News news = board.take();
  EXPECT_GT(news.done, 1'000'000U);
  EXPECT_EQ(news.done, news.total);
}

}  // namespace
}  // namespace zpk
