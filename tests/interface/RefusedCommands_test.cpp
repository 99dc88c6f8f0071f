// A user whom the helper does not allow what he asks for: the call fails, and a record tells him alone why. Before
// the call has failed or after it, as it happens; the record of how things are follows.

#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>

#include "interface/WindowFixture.h"

namespace zpk {
namespace {

const std::string kSentence = "You are not allowed to do this. Ask an administrator of this computer.";

Dictionary truth() {
  Dictionary status = readyStatus();
  statuskey::disks.set(status, {bootCampDisk(1, "Flash Disk FD0256G"), bootCampDisk(2, "Pocket T7")});
  statuskey::checkFS.set(status, true);
  return status;
}

Dictionary running() {
  Dictionary status = backupStatus(34, {});
  statuskey::checkFS.set(status, true);
  return status;
}

void chooseSecondDisk(InterfaceWorld& world) {
  auto* list = world.find<QAbstractItemView>("disksListContentView");
  list->setCurrentIndex(list->model()->index(1, 0));
  world.click("actionButton");
}

// In the middle of the square.
void clickPin(InterfaceWorld& world, int row) {
  auto* table = world.find<QAbstractItemView>("arcItemsTable");
  const QRect place = table->visualRect(table->model()->index(row, 0));
  QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, QPoint(place.left() + 10, place.center().y()));
  InterfaceWorld::settle();
}

// A command, and how it is given with the window's own controls.
struct Gesture {
  const char* name;
  const char* command;
  void (*make)(InterfaceWorld& world);
  Dictionary (*before)() = truth;
};

void PrintTo(const Gesture& gesture, std::ostream* out) {
  *out << gesture.name;
}

const Gesture kGestures[] = {
    {"BackUp", "backup", [](InterfaceWorld& world) { world.click("backupButton"); }},
    {"Stop", "breakProgress", [](InterfaceWorld& world) { world.click("stopButton"); }, running},
    {"ChangeTheSource", "setBackupSource",
     [](InterfaceWorld& world) {
       world.click("selectSourceButton");
       chooseSecondDisk(world);
     }},
    {"ChangeTheTarget", "setTargetPath",
     [](InterfaceWorld& world) {
       world.click("selectBackupPathButton");
       auto* name = world.find<QLineEdit>("fileNameEdit");
       name->selectAll();
       name->insert("/tmp/Other.rldbackup");
       QTest::keyClick(name, Qt::Key_Return);
       InterfaceWorld::settle();
     }},
    {"ChangeTheLimit", "setMaxIncrementsCount",
     [](InterfaceWorld& world) {
       auto* field = world.find<QLineEdit>("maxIncCountField");
       field->setFocus();
       field->selectAll();
       QTest::keyClicks(field, "42");
       QTest::keyClick(field, Qt::Key_Return);
       InterfaceWorld::settle();
     }},
    {"LeaveTheLimitChanged", "setMaxIncrementsCount",
     [](InterfaceWorld& world) {
       auto* field = world.find<QLineEdit>("maxIncCountField");
       field->setFocus();
       QTest::keyClick(field, Qt::Key_Up);
       QTest::keyClick(field, Qt::Key_Tab);
       InterfaceWorld::settle();
     }},
    {"SwitchTheCheck", "setCheckFS",
     [](InterfaceWorld& world) {
       auto* box = world.find<QCheckBox>("checkFSButton");
       QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(8, box->height() / 2));
       InterfaceWorld::settle();
     }},
    {"Pin", "pin_arcItem_withLabel",
     [](InterfaceWorld& world) {
       clickPin(world, 1);
       QTest::keyClicks(world.find<QWidget>("incrementLabelField"), "Keep");
       world.click("actionButton");
     }},
    {"Unpin", "pin_arcItem_withLabel", [](InterfaceWorld& world) { clickPin(world, 0); }},
    {"Merge", "mergeArchiveWithParent",
     [](InterfaceWorld& world) {
       world.controller->setSelectedArcItemsIndexes({2});
       world.click("mergeButton");
       world.click("actionButton");
     }},
    {"Restore", "restore_toDisk_withNumber_withTargetSize",
     [](InterfaceWorld& world) {
       world.controller->setSelectedArcItemsIndexes({1});
       world.click("restoreButton");
       chooseSecondDisk(world);
     }},
};

enum class Told { beforeTheCallFails, afterwards };

class RefusedCommand : public testing::TestWithParam<std::tuple<Gesture, Told>> {
 protected:
  RefusedCommand() {
    world.openWindow();
    activate();
    world.show(gesture().before());
    world.helper().whenCalled(gesture().command, [this] {
      if (told() == Told::beforeTheCallFails) world.transport.push(refusal());
      throw LinkException("Access denied");
    });
  }
  void activate() {
    world.window->activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(world.window.get()));
  }
  static Gesture gesture() { return std::get<Gesture>(GetParam()); }
  static Told told() { return std::get<Told>(GetParam()); }
  static Dictionary refusal() {
    Dictionary status = gesture().before();
    statuskey::opError.set(status, kSentence);
    return status;
  }

  std::vector<QDialog*> sheets() const {
    std::vector<QDialog*> shown;
    for (QDialog* dialog : world.window->findChildren<QDialog*>()) {
      if (dialog->isVisible()) shown.push_back(dialog);
    }
    return shown;
  }
  // What the window's controls say of the helper's settings and of what it does.
  std::string whatIsShown() const {
    QStringList shown{world.find<QWidget>("sourceCard")->accessibleDescription(),
                      world.find<QWidget>("destinationCard")->accessibleDescription(),
                      world.find<QLineEdit>("maxIncCountField")->text(),
                      world.find<QCheckBox>("checkFSButton")->isChecked() ? "checked" : "not checked",
                      world.find<QPushButton>("stopButton")->text(),
                      world.find<QPushButton>("stopButton")->isEnabled() ? "stop" : "no stop",
                      world.find<QWidget>("backupButton")->isVisible() ? "idle" : "running"};
    const QAbstractItemModel& points = *world.find<QAbstractItemView>("arcItemsTable")->model();
    for (int row = 0; row < points.rowCount(); ++row) {
      for (int column = 0; column < points.columnCount(); ++column) {
        const QModelIndex cell = points.index(row, column);
        shown << cell.data().toString() + cell.data(Qt::CheckStateRole).toString();
      }
    }
    return shown.join(u'\n').toStdString();
  }
  void expectTheSentence() const {
    ASSERT_EQ(sheets().size(), 1U);
    EXPECT_EQ(sheets()[0]->windowTitle(), "The operation could not be completed");
    EXPECT_EQ(sheets()[0]->accessibleDescription(), QString::fromStdString(kSentence));
  }

  InterfaceWorld world;
};

TEST_P(RefusedCommand, IsToldInOneSheetAndTheControlsShowWhatIs) {
  const std::string before = whatIsShown();
  gesture().make(world);
  ASSERT_EQ(world.helper().count(gesture().command), 1U);
  if (told() == Told::afterwards) world.show(refusal());
  expectTheSentence();
  EXPECT_EQ(whatIsShown(), before);
  world.show(gesture().before());
  expectTheSentence();

  world.click("cancelButton");
  EXPECT_TRUE(sheets().empty());
  EXPECT_EQ(whatIsShown(), before);
  // The link takes the failed call for a lost helper, and looks for it.
  world.loop.advance(Seconds(5));
  InterfaceWorld::settle();
  EXPECT_TRUE(sheets().empty());
  EXPECT_FALSE(world.find<QWidget>("linkBanner")->isVisible());
  EXPECT_EQ(world.helper().count(gesture().command), 1U);
}

TEST_P(RefusedCommand, CanBeGivenAgainAndIsRefusedAgain) {
  for (std::size_t times = 1; times <= 2; ++times) {
    gesture().make(world);
    EXPECT_EQ(world.helper().count(gesture().command), times);
    if (told() == Told::afterwards) world.show(refusal());
    expectTheSentence();
    world.show(gesture().before());
    QTest::keyClick(world.sheet(), Qt::Key_Escape);
    InterfaceWorld::settle();
    ASSERT_TRUE(sheets().empty());
    activate();
  }
}

INSTANTIATE_TEST_SUITE_P(EachGesture, RefusedCommand,
                         testing::Combine(testing::ValuesIn(kGestures),
                                          testing::Values(Told::beforeTheCallFails, Told::afterwards)),
                         [](const auto& each) {
                           return std::string(std::get<Gesture>(each.param).name) +
                                  (std::get<Told>(each.param) == Told::afterwards ? "ToldLate" : "");
                         });

}  // namespace
}  // namespace zpk
