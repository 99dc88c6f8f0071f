#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QTabWidget>
#include <QTreeWidget>
#include <map>
#include <set>

#include "interface/PlainTitle.h"
#include "interface/WindowFixture.h"

namespace zpk {
namespace {

class Menus : public Window {
 protected:
  QList<QMenu*> menus() const {
    QList<QMenu*> found;
    for (QAction* title : world.window->menuBar()->actions()) found += title->menu();
    return found;
  }
  std::set<QAction*> menuActions() const {
    std::set<QAction*> found;
    for (QMenu* menu : menus()) {
      for (QAction* entry : menu->actions()) {
        if (!entry->isSeparator()) found.insert(entry);
      }
    }
    return found;
  }
  QTabWidget* tabs() const { return world.find<QTabWidget>("accessoryTabs"); }
  void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::ControlModifier) {
    QTest::keyClick(world.window.get(), key, modifiers);
    InterfaceWorld::settle();
  }
};

// The letter after a single ampersand; null for none.
QChar mnemonicOf(QString text) {
  text.remove(QStringLiteral("&&"));
  const qsizetype mark = text.indexOf(u'&');
  return mark >= 0 && mark + 1 < text.size() ? text[mark + 1].toUpper() : QChar();
}

TEST_F(Menus, AreThoseOfTheDesktop) {
  QStringList titles;
  for (const QAction* title : world.window->menuBar()->actions()) titles += plainTitle(title->text());
  EXPECT_EQ(titles, (QStringList{"ZPK", "File", "Edit", "Backup Point", "View", "Window", "Help"}));
  EXPECT_EQ(action("aboutAction")->menuRole(), QAction::AboutRole);
  EXPECT_EQ(action("quitAction")->menuRole(), QAction::QuitRole);
}

TEST_F(Menus, NoTwoActionsShareAKey) {
  std::map<QString, QString> owners;
  for (const QAction* entry : world.window->findChildren<QAction*>()) {
    for (const QKeySequence& key : entry->shortcuts()) {
      const auto [owner, isNew] = owners.emplace(key.toString(), entry->objectName());
      EXPECT_TRUE(isNew) << key.toString().toStdString() << " of " << owner->second.toStdString() << " and "
                         << entry->objectName().toStdString();
    }
  }
  EXPECT_GE(owners.size(), 15U);
}

TEST_F(Menus, NoTwoEntriesOfAMenuShareALetter) {
  for (const QMenu* menu : menus()) {
    std::map<QChar, QString> owners;
    for (const QAction* entry : menu->actions()) {
      const QChar letter = mnemonicOf(entry->text());
      if (entry->isSeparator()) continue;
      EXPECT_FALSE(letter.isNull()) << entry->text().toStdString();
      EXPECT_TRUE(owners.emplace(letter, entry->text()).second) << entry->text().toStdString();
    }
  }
}

// What Alt and a letter reach: menus, buttons, tabs, fields by their labels.
TEST_F(Menus, NoTwoControlsOfTheWindowShareALetter) {
  for (const Dictionary& status : {readyStatus(), backupStatus(10, {"line"})}) {
    world.show(status);
    QStringList texts;
    for (const QAction* title : world.window->menuBar()->actions()) texts += title->text();
    for (int i = 0; i < tabs()->count(); ++i) texts += tabs()->tabText(i);
    for (const auto* button : world.window->findChildren<QAbstractButton*>()) {
      if (button->isVisible()) texts += button->text();
    }
    for (const auto* label : world.window->findChildren<QLabel*>()) {
      if (label->isVisible() && label->buddy()) texts += label->text();
    }
    std::map<QChar, QString> owners;
    for (const QString& title : texts) {
      const QChar letter = mnemonicOf(title);
      if (letter.isNull()) continue;
      const auto [owner, isNew] = owners.emplace(letter, title);
      EXPECT_TRUE(isNew) << title.toStdString() << " and " << owner->second.toStdString();
    }
    EXPECT_GE(owners.size(), 12U);
  }
}

TEST_F(Menus, EveryActionOfTheWindowIsInAMenu) {
  const std::set<QAction*> inMenus = menuActions();
  for (QAction* entry : world.window->findChildren<QAction*>(QString(), Qt::FindDirectChildrenOnly)) {
    EXPECT_TRUE(inMenus.contains(entry)) << entry->objectName().toStdString();
  }
}

TEST_F(Menus, ShareTheirActionsWithTheButtons) {
  world.show(readyStatus());
  EXPECT_TRUE(action("backUpNowAction")->isEnabled());
  EXPECT_FALSE(action("stopAction")->isEnabled());
  EXPECT_EQ(action("stopAction")->toolTip(), "No operation is running.");
  action("backUpNowAction")->trigger();
  EXPECT_EQ(helper().count("backup"), 1U);
  world.show(backupStatus(10, {"line"}));
  EXPECT_FALSE(action("backUpNowAction")->isEnabled());
  EXPECT_FALSE(action("chooseDiskAction")->isEnabled());
  EXPECT_TRUE(action("stopAction")->isEnabled());
  press(Qt::Key_Period);
  EXPECT_EQ(helper().count("breakProgress"), 1U);
}

TEST_F(Menus, BackupIsDisabledWithItsReasonInEveryCase) {
  const auto why = [this] { return isEnabled("backupButton") ? QString() : toolTip("backupButton"); };
  EXPECT_EQ(why(), "The helper has not answered yet.");
  world.show(idleStatus({bootCampDisk(1, "Disk")}));
  EXPECT_EQ(why(), "Choose the Windows disk to protect first.");
  Dictionary status = readyStatus();
  statuskey::targetArchive.set(status, std::nullopt);
  world.show(status);
  EXPECT_EQ(why(), "Choose where to keep the backups first.");
  status = readyStatus();
  statuskey::arcState.set(status, ArcState::unavailable);
  world.show(status);
  EXPECT_EQ(why(), "The place where the backups are kept cannot be reached now.");
  world.show(readyStatus());
  EXPECT_TRUE(isEnabled("backupButton"));
  world.transport.helperDies();
  EXPECT_EQ(why(), "The backup helper is not running.");
  EXPECT_FALSE(isEnabled("selectSourceButton"));
}

TEST_F(Menus, EverythingIsReachedByItsKeys) {
  world.show(readyStatus());
  activate();
  press(Qt::Key_B);
  EXPECT_EQ(helper().count("backup"), 1U);
  press(Qt::Key_D);
  EXPECT_EQ(world.controller->modalSession(), modalsession::kSource);
  world.controller->sheetCancelAction();
  InterfaceWorld::settle();
  activate();
  press(Qt::Key_L);
  EXPECT_EQ(world.controller->modalSession(), modalsession::kArchiveLocation);
  world.controller->sheetCancelAction();
  InterfaceWorld::settle();
  activate();
  press(Qt::Key_2);
  EXPECT_EQ(tabs()->currentIndex(), 1);
  press(Qt::Key_1);
  EXPECT_EQ(tabs()->currentIndex(), 0);
  selectRow(2);
  press(Qt::Key_R);
  EXPECT_EQ(world.controller->modalSession(), modalsession::kRestoreTarget);
}

TEST_F(Menus, ViewMenuMarksThePageThatIsShown) {
  world.show(readyStatus());
  EXPECT_TRUE(action("showPointsAction")->isChecked());
  action("showLogAction")->trigger();
  EXPECT_TRUE(action("showLogAction")->isChecked());
  EXPECT_FALSE(action("showPointsAction")->isChecked());
  EXPECT_TRUE(world.find<QWidget>("logView")->isVisible());
  tabs()->setCurrentIndex(0);
  EXPECT_TRUE(action("showPointsAction")->isChecked());
}

TEST_F(Menus, CopyTakesTheSelectedPointsAsLinesWithTabs) {
  world.show(readyStatus());
  activate();
  table()->setFocus();
  press(Qt::Key_A);
  press(Qt::Key_C);
  const QStringList lines = QApplication::clipboard()->text().split(u'\n');
  ASSERT_EQ(lines.size(), 4);
  EXPECT_EQ(lines[0], "day 19675\tBefore the update\tFull\tFlash Disk\t47 GB");
  EXPECT_EQ(lines[3], "");
}

TEST_F(Menus, CopyTakesTheSelectedLogLinesWhereTheLogIsShown) {
  world.show(backupStatus(10, {"first line", "second line"}));
  activate();
  auto* log = world.find<QAbstractItemView>("logView");
  for (QWidget* focus : {static_cast<QWidget*>(log), world.find<QWidget>("stopButton")}) {
    QApplication::clipboard()->clear();
    log->clearSelection();
    focus->setFocus();
    press(Qt::Key_A);
    press(Qt::Key_C);
    EXPECT_EQ(QApplication::clipboard()->text().trimmed(), "first line\nsecond line");
  }
}

TEST_F(Menus, CopyTakesTheTextOfTheFieldThatHasTheFocus) {
  world.show(readyStatus());
  activate();
  auto* field = world.find<QLineEdit>("maxIncCountField");
  field->setFocus();
  action("selectAllAction")->trigger();
  action("copyAction")->trigger();
  EXPECT_EQ(QApplication::clipboard()->text(), "10");
}

TEST_F(Menus, PinEntryIsNamedAfterWhatItDoes) {
  world.show(readyStatus());
  selectRow(0);
  EXPECT_EQ(plainTitle(action("pinAction")->text()), "Unpin");
  selectRow(1);
  EXPECT_EQ(plainTitle(action("pinAction")->text()), "Pin");
  action("pinAction")->trigger();
  EXPECT_EQ(world.controller->modalSession(), modalsession::kIncrementLabel);
}

TEST_F(Menus, ShortcutListHasEveryActionWithItsKeys) {
  action("shortcutsAction")->trigger();
  action("shortcutsAction")->trigger();
  ASSERT_EQ(world.window->findChildren<QDialog*>("shortcutsDialog").size(), 1);
  auto* list = world.find<QTreeWidget>("shortcutsList");
  std::map<QString, QString> keys;
  for (int i = 0; i < list->topLevelItemCount(); ++i) {
    keys[list->topLevelItem(i)->text(0)] = list->topLevelItem(i)->text(1);
  }
  for (const QAction* entry : menuActions()) {
    ASSERT_TRUE(keys.contains(plainTitle(entry->text()))) << entry->text().toStdString();
    if (!entry->shortcut().isEmpty()) {
      EXPECT_FALSE(keys[plainTitle(entry->text())].isEmpty()) << entry->text().toStdString();
    }
  }
  EXPECT_EQ(keys["Back Up Now"], "Ctrl+B");
  QTest::keyClick(world.find<QDialog>("shortcutsDialog"), Qt::Key_Escape);
  InterfaceWorld::settle();
  EXPECT_TRUE(world.window->findChildren<QDialog*>("shortcutsDialog").isEmpty());
}

TEST_F(Menus, AboutSaysWhatTheProgramIs) {
  action("aboutAction")->trigger();
  auto* about = world.find<QDialog>("aboutDialog");
  EXPECT_TRUE(about->isVisible());
  QString said;
  for (const auto* label : about->findChildren<QLabel*>()) said += label->text() + u' ';
  EXPECT_TRUE(said.contains("ZPK")) << said.toStdString();
  EXPECT_TRUE(said.contains("Windows side")) << said.toStdString();
}

TEST_F(Menus, FullScreenIsMarkedWhileItLasts) {
  action("fullScreenAction")->trigger();
  EXPECT_TRUE(world.window->isFullScreen());
  EXPECT_TRUE(action("fullScreenAction")->isChecked());
  action("fullScreenAction")->trigger();
  EXPECT_FALSE(world.window->isFullScreen());
  EXPECT_FALSE(action("fullScreenAction")->isChecked());
}

TEST_F(Menus, CloseClosesTheWindowAndQuitAsksTheApplication) {
  action("quitAction")->trigger();
  EXPECT_TRUE(world.quits);
  action("closeAction")->trigger();
  EXPECT_FALSE(world.window->isVisible());
}

}  // namespace
}  // namespace zpk
