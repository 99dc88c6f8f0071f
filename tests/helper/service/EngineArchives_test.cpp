// Archives as the service uses them, on real files.

#include "helper/service/EngineArchives.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "helper/archive/Archive.h"
#include "helper/archive/TestFiles.h"
#include "records/RLDArchive.h"
#include "records/RLDArchiveItem.h"

namespace zpk {
namespace {

using test::ScratchFolder;
using testing::HasSubstr;

// An archive with two points without disks.
class EnginePoints : public testing::Test {
 protected:
  EnginePoints() {
    ArchiveResult<Archive> archive = Archive::create(path(), {"disk-id", "Disk", 5});
    for (const char* label : {"one", "two"}) {
      ArchiveResult<PendingPoint> point = archive->beginPoint();
      PointIndex index;
      index.label = label;
      EXPECT_TRUE(archive->commitPoint(std::move(*point), index).hasValue());
    }
  }

  std::string path() const { return folder / "a.rldbackup"; }
  std::shared_ptr<const RLDArchiveItem> item(std::size_t place) {
    return std::get<PresentArchive>(archives.look(path())).archive->items().at(place);
  }
  PointReference reference(std::size_t place) { return {path(), place, *item(place)->indexFilePath()}; }

  ScratchFolder folder;
  EngineArchives archives{folder / "export", ""};
};

TEST_F(EnginePoints, APinAndItsLabelAreKeptInThePoint) {
  ASSERT_TRUE(archives.pin({reference(1), true, "before the update"}).hasValue());
  EXPECT_TRUE(item(1)->isPinned());
  EXPECT_EQ(item(1)->name(), "before the update");
  EXPECT_FALSE(item(0)->isPinned());
  EXPECT_EQ(item(0)->name(), "one");
}

TEST_F(EnginePoints, UnpinningKeepsTheLabel) {
  ASSERT_TRUE(archives.pin({reference(0), true, "mine"}).hasValue());
  ASSERT_TRUE(archives.pin({reference(0), false, std::nullopt}).hasValue());
  EXPECT_FALSE(item(0)->isPinned());
  EXPECT_EQ(item(0)->name(), "mine");
}

TEST_F(EnginePoints, APinThatCannotBeStoredIsToldAndChangesNothing) {
  const PointReference point = reference(0);
  const auto other = Archive::openForWriting(path());
  const auto result = archives.pin({point, true, "x"});
  ASSERT_FALSE(result.hasValue());
  EXPECT_THAT(result.error(), HasSubstr("process"));
  EXPECT_FALSE(item(0)->isPinned());
}

TEST_F(EnginePoints, AnotherPointAtTheSamePlaceIsLeftAlone) {
  PointReference point = reference(0);
  point.indexPath = reference(1).indexPath;
  const auto result = archives.pin({point, true, "x"});
  ASSERT_FALSE(result.hasValue());
  EXPECT_THAT(result.error(), HasSubstr("another backup point"));
  point.index = 7;
  EXPECT_FALSE(archives.pin({point, true, "x"}).hasValue());
  EXPECT_FALSE(item(0)->isPinned() || item(1)->isPinned());
}

}  // namespace
}  // namespace zpk
