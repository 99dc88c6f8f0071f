// Points that are read back: sound ones, and those that something has changed since they were written.

#include "helper/archive/PointCheck.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "helper/archive/MergeWorld.h"

namespace zpk {
namespace {

using test::MergeWorld;
using testing::HasSubstr;
using testing::IsEmpty;

class PointChecks : public MergeWorld {
 protected:
  static PointCheck check(Archive& archive, std::size_t point) {
    const CancelFlag never;
    const NotedCheck noted = checkAndNote(
        archive, point, 77, [](std::uint64_t) {}, never);
    const auto& result = noted.check;
    EXPECT_TRUE(result.hasValue()) << (result ? "" : result.error().text());
    EXPECT_EQ(noted.whyNotNoted, std::nullopt);
    return result ? *result : PointCheck{};
  }
};

TEST_F(PointChecks, EveryPointOfASoundArchiveIsSound) {
  Archive archive = open();
  for (std::size_t point = 0; point < points; ++point) {
    const PointCheck result = check(archive, point);
    EXPECT_THAT(result.damaged, IsEmpty());
    EXPECT_GT(result.bytes, 700'000U) << "what every round changed";
    EXPECT_EQ(archive.readPoint(point)->check, (LastCheck{77, false}));
  }
  EXPECT_GT(check(archive, 0).bytes, 3 * check(archive, 1).bytes) << "an increment is checked by what it holds";
}

TEST_F(PointChecks, DamageIsNamedByImageAndRangeAndNoted) {
  Archive archive = open();
  damage(archive, 1);
  const PointCheck result = check(archive, 1);
  ASSERT_FALSE(result.damaged.empty());
  EXPECT_EQ(result.damaged[0].image, imagePath(archive, 1));
  EXPECT_GT(result.damaged[0].range.size(), 0U);
  EXPECT_EQ(archive.readPoint(1)->check, (LastCheck{77, true}));
  EXPECT_THAT(check(archive, 0).damaged, IsEmpty());
  EXPECT_THAT(check(archive, 2).damaged, IsEmpty()) << "its own images are sound";
}

TEST_F(PointChecks, NothingIsBuiltOnADamagedPoint) {
  Archive archive = open();
  damage(archive, points - 1);
  ASSERT_FALSE(check(archive, points - 1).damaged.empty());
  BackupRequest next = request();
  std::string why;
  next.becomesFull = [&why](const std::string& reason) { why = reason; };
  const CancelFlag never;
  const auto made = makeBackup(archive, next, ignoreProgress, never);
  ASSERT_TRUE(made.hasValue()) << made.error().text();
  EXPECT_EQ(made->index.kind, PointKind::Full);
  EXPECT_THAT(why, HasSubstr("is damaged"));
}

TEST_F(PointChecks, NorOnOneThatTakesContentFromADamagedPoint) {
  Archive archive = open();
  damage(archive, 1);
  ASSERT_FALSE(check(archive, 1).damaged.empty());
  BackupRequest next = request();
  std::string why;
  next.becomesFull = [&why](const std::string& reason) { why = reason; };
  const CancelFlag never;
  const auto made = makeBackup(archive, next, ignoreProgress, never);
  ASSERT_TRUE(made.hasValue()) << made.error().text();
  EXPECT_EQ(made->index.kind, PointKind::Full);
  EXPECT_THAT(why, HasSubstr("builds on is damaged"));
  const auto further = makeBackup(archive, next, ignoreProgress, never);
  EXPECT_EQ(further->index.kind, PointKind::Increment) << "the new one is whole";
}

TEST_F(PointChecks, NorOnOneThatADamagedPointWasMergedInto) {
  Archive archive = open();
  damage(archive, points - 2);
  ASSERT_FALSE(check(archive, points - 2).damaged.empty());
  ASSERT_TRUE(check(archive, points - 1).damaged.empty());
  ASSERT_TRUE(mergeIntoParent(archive, points - 1, ignoreProgress, {}).hasValue());
  EXPECT_TRUE(archive.readPoint(points - 2)->check->isDamaged) << "what it took over is damaged";
  const auto made = makeBackup(archive, request(), ignoreProgress, {});
  ASSERT_TRUE(made.hasValue()) << made.error().text();
  EXPECT_EQ(made->index.kind, PointKind::Full);
}

TEST_F(PointChecks, AnImageThatLostItsEndIsDamaged) {
  Archive archive = open();
  const std::string image = imagePath(archive, 0);
  std::filesystem::resize_file(image, std::filesystem::file_size(image) / 2);
  const CancelFlag never;
  const auto result = checkAndNote(
                          archive, 0, 77, [](std::uint64_t) {}, never)
                          .check;
  EXPECT_TRUE(!result || !result->damaged.empty());
  EXPECT_TRUE(archive.readPoint(0)->check->isDamaged);
}

// Only what was there and was wrong was noted, and the next backup built on a point without its image.
TEST_F(PointChecks, AnImageOrAMapThatIsGoneOrIsNoFileIsDamage) {
  Archive archive = open();
  const std::string image = imagePath(archive, points - 1);
  const std::filesystem::path map = std::filesystem::path(image).replace_filename("disk0.map");
  const auto noted = [&] {
    const NotedCheck result = checkAndNote(archive, points - 1, 77, [](std::uint64_t) {}, {});
    EXPECT_FALSE(result.check.hasValue());
    EXPECT_EQ(result.whyNotNoted, std::nullopt);
    return archive.readPoint(points - 1)->check;
  };
  for (const std::string& file : {image, map.string()}) {
    std::filesystem::rename(file, folder / "away");
    EXPECT_EQ(noted(), (LastCheck{77, true})) << file << " is gone";
    std::filesystem::create_directory(file);
    EXPECT_EQ(noted(), (LastCheck{77, true})) << file << " is a folder";
    std::filesystem::remove(file);
    std::filesystem::rename(folder / "away", file);
    EXPECT_THAT(check(archive, points - 1).damaged, IsEmpty());
    EXPECT_EQ(archive.readPoint(points - 1)->check, (LastCheck{77, false}));
  }
}

TEST_F(PointChecks, AStoppedOneNotesNothing) {
  Archive archive = open();
  CancelFlag stop;
  stop.request();
  const auto result = checkAndNote(
                          archive, 0, 77, [](std::uint64_t) {}, stop)
                          .check;
  ASSERT_FALSE(result.hasValue());
  EXPECT_EQ(result.error().fault, ArchiveFault::Cancelled);
  EXPECT_FALSE(archive.readPoint(0)->check.has_value());
}

}  // namespace
}  // namespace zpk
