#include "mainwindow/PathComponents.h"

#include <gtest/gtest.h>

namespace zpk {
namespace {

TEST(PathComponents, DisplayNameIsTheLastComponentWithoutItsExtension) {
  EXPECT_EQ(archiveDisplayName("/backups/Office PC.rldbackup"), "Office PC");
  EXPECT_EQ(archiveDisplayName("/backups/a.b.rldbackup/"), "a.b");
  EXPECT_EQ(archiveDisplayName("/backups/.hidden"), ".hidden");
  EXPECT_EQ(archiveDisplayName("name"), "name");
  EXPECT_EQ(archiveDisplayName("/"), "/");
  EXPECT_EQ(archiveDisplayName(""), "");
}

TEST(PathComponents, LocationIsThePathWithoutItsLastComponent) {
  EXPECT_EQ(archiveLocation("/backups/a.rldbackup"), "/backups");
  EXPECT_EQ(archiveLocation("/a.rldbackup"), "/");
  EXPECT_EQ(archiveLocation("/x//a.rldbackup/"), "/x");
  EXPECT_EQ(archiveLocation("a"), "");
  EXPECT_EQ(archiveLocation("/"), "/");
}

}  // namespace
}  // namespace zpk
