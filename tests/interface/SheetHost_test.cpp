#include <gtest/gtest.h>

#include <QDir>
#include <QFileDialog>
#include <QLineEdit>
#include <QTemporaryDir>

#include "interface/InterfaceWorld.h"

namespace zpk {
namespace {

// The panel, opened when the archive is in a folder that is there.
class LocationPanel : public testing::Test {
 protected:
  QFileDialog* open(ArcState state, const QString& archive) {
    world.openWindow();
    Dictionary status = readyStatus();
    statuskey::targetArchive.set(status, archive.toStdString());
    statuskey::arcState.set(status, state);
    world.show(status);
    world.controller->selectBackupPath();
    InterfaceWorld::settle();
    return dynamic_cast<QFileDialog*>(world.sheet());
  }

  QTemporaryDir folder;
  InterfaceWorld world;
};

TEST_F(LocationPanel, OpensWhereTheArchiveIs) {
  QFileDialog* panel = open(ArcState::ready, folder.filePath("Mine.rldbackup"));
  ASSERT_NE(panel, nullptr);
  EXPECT_EQ(panel->directory().path(), folder.path());
  EXPECT_EQ(panel->findChild<QLineEdit*>("fileNameEdit")->text(), "Windows Backup");
}

TEST_F(LocationPanel, DoesNotLookForAnArchiveThatIsAway) {
  QFileDialog* panel = open(ArcState::unavailable, folder.filePath("Mine.rldbackup"));
  ASSERT_NE(panel, nullptr);
  EXPECT_EQ(panel->directory().path(), QDir::homePath());
}

TEST_F(LocationPanel, OpensAtHomeWhereTheFolderIsGone) {
  QFileDialog* panel = open(ArcState::empty, folder.filePath("gone/Mine.rldbackup"));
  ASSERT_NE(panel, nullptr);
  EXPECT_EQ(panel->directory().path(), QDir::homePath());
}

}  // namespace
}  // namespace zpk
