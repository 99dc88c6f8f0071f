// Backups that a power cut ends, at any call.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <set>

#include "helper/archive/PointCheck.h"
#include "helper/archive/PointsWorld.h"
#include "helper/archive/PowerCutDisk.h"
#include "helper/archive/Qcow2Chain.h"
#include "support/Rounds.h"

namespace zpk {
namespace {

namespace fs = std::filesystem;
using test::Call;
using test::CallRecorder;

void ignoreProgress(std::uint64_t, std::uint64_t) {}

// A second point in the making, what the disk held at the first one and holds now.
class BackupPowerCut : public test::PointsWorld {
 protected:
  BackupPowerCut() {
    moments.push_back(disk.expectedContent());
    changeSomeFiles();
    moments.push_back(disk.expectedContent());
  }

  static void expectReads(const Archive& read, std::size_t point, const std::string& expected) {
    ArchiveResult<Qcow2Chain> chain = Qcow2Chain::open(read, point, 0);
    ASSERT_TRUE(chain.hasValue()) << chain.error().text();
    ByteBuffer content(chain->clusterSize());
    for (std::uint64_t cluster = 0; cluster < chain->clusterCount(); ++cluster) {
      const ArchiveResult<Done> done = chain->read(cluster, content);
      ASSERT_TRUE(done.hasValue()) << done.error().text();
      ASSERT_EQ(std::memcmp(content.data(), &expected[cluster * content.size()], content.size()), 0)
          << "point " << point << ", cluster " << cluster;
    }
  }

  // Every point that is listed reads as the disk was then, and whoever writes next leaves nothing that is not.
  // Gives how many there are.
  std::size_t expectWhole(const std::string& place) const {
    const ArchiveResult<Archive> read = Archive::openForReading(place);
    EXPECT_TRUE(read.hasValue()) << read.error().text();
    const std::size_t count = read ? read->index().points.size() : 0;
    for (std::size_t i = 0; i < std::min(count, moments.size()); ++i) {
      expectReads(*read, i, moments[i]);
      const auto check = checkOwnImages(*read, i, [](std::uint64_t) {}, {});
      EXPECT_TRUE(check.hasValue() && check->damaged.empty()) << "the hashes are not those of the point";
    }
    const ArchiveResult<Archive> written = Archive::openForWriting(place);
    EXPECT_TRUE(written.hasValue()) << written.error().text();
    std::set<std::string> folders;
    for (const auto& entry : fs::directory_iterator(place)) {
      if (entry.is_directory()) folders.insert(entry.path().filename());
    }
    if (written) {
      EXPECT_THAT(folders, testing::UnorderedElementsAreArray(written->index().points));
    }
    return count;
  }

  // Cuts the power while `work` makes the second point, as often as there is time for.
  template <class Work>
  void cutAnywhere(Work work) {
    const test::PowerCutDisk drive(archive.path());
    CallRecorder::begin();
    work();
    const std::vector<Call> calls = CallRecorder::end();
    std::mt19937 random(5);
    const std::size_t cuts = test::rounds("ZPK_CUTS", 60);
    std::size_t without = 0;
    for (std::size_t i = 0; i < cuts && !HasFailure(); ++i) {
      SCOPED_TRACE("cut " + std::to_string(i));
      const double share = std::array{0.0, 0.3, 0.7, 1.0}[random() % 4];
      // Every other one is among the last calls, with which the point comes into being.
      const std::size_t among = i % 2 == 0 ? calls.size() : std::min<std::size_t>(calls.size(), 16);
      const std::size_t cut = i == 0 ? calls.size() : calls.size() - random() % among;
      const std::string left = folder / "left";
      fs::remove_all(left);
      drive.leave(calls, cut, share, random, left);
      const std::size_t points = expectWhole(left);
      EXPECT_THAT(points, testing::AnyOf(1U, 2U));
      if (cut == calls.size()) {
        EXPECT_EQ(points, 2U) << "a point is lost that was told to be there";
      }
      without += points == 1;
    }
    EXPECT_GT(without, cuts / 4) << "the backups were not cut short";
  }

  std::vector<std::string> moments;
};

TEST_F(BackupPowerCut, AtAnyMomentOfAnIncrementLeavesEveryListedPointExact) {
  cutAnywhere([this] { EXPECT_EQ(makePoint().index.kind, PointKind::Increment); });
}

TEST_F(BackupPowerCut, AtAnyMomentOfAFullPointLeavesEveryListedPointExact) {
  cutAnywhere([this] {
    const auto made = makeFullBackup(archive, disk.request(), ignoreProgress, cancel);
    EXPECT_TRUE(made.hasValue()) << made.error().text();
  });
}

}  // namespace
}  // namespace zpk
