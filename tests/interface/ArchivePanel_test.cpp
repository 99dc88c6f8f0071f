#include "interface/ArchivePanel.h"

#include <gtest/gtest.h>

#include <QAbstractItemView>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QtTest/QTest>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zpk {
namespace {

// In both of the panel's views.
class Panel : public testing::TestWithParam<const char*> {
 protected:
  Panel() {
    selector->setAllowedFileTypes({"rldbackup"});
    selector->setActionsTarget(target);
    selector->setOkActionSelector([this](ZPKArchiveSelector& sender) { chosen.push_back(sender.URL()); });
    selector->setCancelActionSelector([this](ZPKArchiveSelector&) { ++cancelled; });
    QDir(folder.path()).mkdir("Documents");
    QDir(folder.path()).mkdir("Old.rldbackup");
    QFile(folder.filePath("Older.rldbackup")).open(QIODevice::WriteOnly);
    window.show();
  }

  ArchivePanel& open() {
    panel = std::make_unique<ArchivePanel>(window, selector, english);
    panel->setDirectory(folder.path());
    panel->setViewMode(std::string_view(GetParam()) == "listView" ? QFileDialog::List : QFileDialog::Detail);
    panel->open();
    EXPECT_TRUE(QTest::qWaitForWindowActive(panel.get()));
    return *panel;
  }
  QLineEdit& name() { return *panel->findChild<QLineEdit*>("fileNameEdit"); }
  QLabel& refusal() { return *panel->findChild<QLabel*>("refusalLabel"); }
  void type(const QString& text) {
    name().setFocus();
    name().selectAll();
    name().insert(text);
    QTest::keyClick(&name(), Qt::Key_Return);
  }
  std::string in(const QString& file) { return folder.filePath(file).toStdString(); }

  // The row of the folder's list that shows `file`; the list fills itself in its own time.
  QModelIndex row(const QString& file) {
    auto* list = panel->findChild<QAbstractItemView*>(GetParam());
    const auto found = [&] {
      const QAbstractItemModel& model = *list->model();
      for (int i = 0; i < model.rowCount(list->rootIndex()); ++i) {
        const QModelIndex index = model.index(i, 0, list->rootIndex());
        if (index.data().toString() == file) return index;
      }
      return QModelIndex();
    };
    EXPECT_TRUE(QTest::qWaitFor([&] { return found().isValid(); })) << file.toStdString();
    return found();
  }
  void doubleClick(const QString& file) {
    auto* list = panel->findChild<QAbstractItemView*>(GetParam());
    const QModelIndex index = row(file);
    list->scrollTo(index);
    const QPoint centre = list->visualRect(index).center();
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, centre);
    QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, centre);
  }

  EnglishLocalization english;
  QTemporaryDir folder;
  QWidget window;
  std::shared_ptr<int> target = std::make_shared<int>(0);
  std::shared_ptr<ZPKArchiveSelector> selector = std::make_shared<ZPKArchiveSelector>();
  std::unique_ptr<ArchivePanel> panel;
  std::vector<std::string> chosen;
  int cancelled = 0;
};

using Chosen = std::vector<std::string>;

TEST_P(Panel, NameWithoutTheExtensionGetsIt) {
  open();
  type("Mine");
  EXPECT_EQ(chosen, Chosen{in("Mine.rldbackup")});
}

TEST_P(Panel, NameThatIsNoKindOfFileGetsTheExtensionToo) {
  open();
  type("Backup 2.5");
  type("Backup of v1.office pc");
  EXPECT_EQ(chosen, (Chosen{in("Backup 2.5.rldbackup"), in("Backup of v1.office pc.rldbackup")}));
}

TEST_P(Panel, RedirectedButtonsLeaveItOpen) {
  open();
  type("Mine");
  QTest::keyClick(panel.get(), Qt::Key_Escape);
  EXPECT_EQ(chosen.size(), 1U);
  EXPECT_EQ(cancelled, 1);
  EXPECT_TRUE(panel->isVisible());
}

TEST_P(Panel, WithoutATargetItIsAnOrdinaryPanel) {
  target.reset();
  open();
  type("Mine");
  EXPECT_FALSE(panel->isVisible());
  EXPECT_EQ(panel->result(), QDialog::Accepted);
  EXPECT_EQ(selector->URL(), in("Mine.rldbackup"));
  open();
  QTest::keyClick(panel.get(), Qt::Key_Escape);
  EXPECT_FALSE(panel->isVisible());
  EXPECT_EQ(panel->result(), QDialog::Rejected);
  EXPECT_TRUE(chosen.empty());
  EXPECT_EQ(cancelled, 0);
}

TEST_P(Panel, TargetThatLacksTheOkActionGetsCancelAlone) {
  selector->setOkActionSelector({});
  open();
  QTest::keyClick(panel.get(), Qt::Key_Escape);
  EXPECT_EQ(cancelled, 1);
  EXPECT_TRUE(panel->isVisible());
  type("Mine");
  EXPECT_FALSE(panel->isVisible());
  EXPECT_EQ(panel->result(), QDialog::Accepted);
}

TEST_P(Panel, ArchiveThatIsAFolderIsChosenByDoubleClickAndNotEntered) {
  open();
  doubleClick("Old.rldbackup");
  EXPECT_EQ(panel->directory().path(), folder.path());
  EXPECT_EQ(chosen, Chosen{in("Old.rldbackup")});
}

TEST_P(Panel, ArchiveThatIsAFolderIsChosenByReturnInTheList) {
  open();
  auto* list = panel->findChild<QAbstractItemView*>(GetParam());
  list->setFocus();
  list->setCurrentIndex(row("Old.rldbackup"));
  EXPECT_EQ(name().text(), "Old.rldbackup");
  QTest::keyClick(list, Qt::Key_Return);
  EXPECT_EQ(chosen, Chosen{in("Old.rldbackup")});
}

TEST_P(Panel, ArchiveThatIsAFileIsChosenByDoubleClick) {
  open();
  doubleClick("Older.rldbackup");
  EXPECT_EQ(chosen, Chosen{in("Older.rldbackup")});
}

TEST_P(Panel, OtherFoldersAreEntered) {
  open();
  doubleClick("Documents");
  EXPECT_EQ(panel->directory().path(), folder.filePath("Documents"));
  EXPECT_TRUE(chosen.empty());
  type("Mine");
  EXPECT_EQ(chosen, Chosen{in("Documents/Mine.rldbackup")});
}

TEST_P(Panel, FolderIsEnteredByItsName) {
  open();
  type("Documents");
  EXPECT_EQ(panel->directory().path(), folder.filePath("Documents"));
  EXPECT_TRUE(chosen.empty());
}

TEST_P(Panel, ArchiveIsEnteredWherePackagesAreFolders) {
  selector->setTreatsFilePackagesAsDirectories(true);
  open();
  doubleClick("Old.rldbackup");
  EXPECT_EQ(panel->directory().path(), folder.filePath("Old.rldbackup"));
}

TEST_P(Panel, NameOfAnotherKindOfFileIsRefusedInThePanel) {
  open();
  type("Mine.zip");
  EXPECT_TRUE(chosen.empty());
  EXPECT_TRUE(refusal().isVisible());
  EXPECT_TRUE(refusal().text().contains(".rldbackup") && refusal().text().contains(".zip"));
  EXPECT_EQ(name().accessibleDescription(), refusal().text());
  name().setText("Mine");
  EXPECT_FALSE(refusal().isVisible());
  EXPECT_EQ(name().accessibleDescription(), "");
  QTest::keyClick(&name(), Qt::Key_Return);
  EXPECT_EQ(chosen, Chosen{in("Mine.rldbackup")});
}

TEST_P(Panel, OtherKindsAreTakenWhereTheyAreAllowed) {
  selector->setAllowsOtherFileTypes(true);
  open();
  type("Mine.zip");
  EXPECT_EQ(chosen, Chosen{in("Mine.zip")});
}

TEST_P(Panel, EveryKindIsTakenWhereNoneIsNamed) {
  selector->setAllowedFileTypes({});
  open();
  type("Mine.zip");
  type("Mine");
  EXPECT_EQ(chosen, (Chosen{in("Mine.zip"), in("Mine")}));
}

TEST_P(Panel, TypedPathsResolveAgainstTheFolderShown) {
  open();
  type("Documents/Mine");
  type("Documents/../Other");
  type("/nowhere/at/all/Mine");
  type("~/Mine");
  EXPECT_EQ(chosen, (Chosen{in("Documents/Mine.rldbackup"), in("Other.rldbackup"), "/nowhere/at/all/Mine.rldbackup",
                            (QDir::homePath() + "/Mine.rldbackup").toStdString()}));
}

TEST_P(Panel, EmptyNameIsNoChoice) {
  open();
  name().clear();
  QTest::keyClick(&name(), Qt::Key_Return);
  EXPECT_TRUE(chosen.empty());
  EXPECT_TRUE(panel->isVisible());
}

TEST_P(Panel, NamesThatOnlyLookDangerousAreNames) {
  open();
  type("-rf $(x) <b>;");
  type(QString(5000, u'W'));
  EXPECT_EQ(chosen, (Chosen{in("-rf $(x) <b>;.rldbackup"), in(QString(5000, u'W') + ".rldbackup")}));
}

INSTANTIATE_TEST_SUITE_P(Views, Panel, testing::Values("listView", "treeView"),
                         [](const auto& view) { return std::string(view.param); });

}  // namespace
}  // namespace zpk
