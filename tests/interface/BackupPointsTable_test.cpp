#include <QPushButton>
#include <QScrollBar>
#include <vector>

#include "interface/BackupPointsModel.h"
#include "interface/WindowFixture.h"

namespace zpk {
namespace {

using Column = BackupPointsModel::Column;
using Points = std::vector<std::shared_ptr<const RLDArchiveItem>>;

constexpr double kDay = 86'400;

std::shared_ptr<const RLDArchiveItem> pointOf(std::uint32_t index, bool pinned = false) {
  return backupPoint(index, "", 1'700'000'000 + index * kDay, pinned);
}

Points pointsOf(std::uint32_t count) {
  Points points;
  for (std::uint32_t i = 0; i < count; ++i) points.push_back(pointOf(i));
  return points;
}

Dictionary statusWith(Points points) {
  Dictionary status = readyStatus();
  statuskey::archiveDescription.set(status, archiveOf(std::move(points)));
  return status;
}

class BackupPointsTable : public Window {
 protected:
  QString cellText(int row, Column column) const { return cell(row, column).data().toString(); }
  bool isChecked(int row) const {
    return cell(row, Column::pinned).data(Qt::CheckStateRole).toInt() == Qt::Checked;
  }
  // In the middle of the square.
  void clickPin(int row) {
    const QRect place = table()->visualRect(cell(row, Column::pinned));
    QTest::mouseClick(table()->viewport(), Qt::LeftButton, {}, QPoint(place.left() + 10, place.center().y()));
    InterfaceWorld::settle();
  }
};

TEST_F(BackupPointsTable, TellsOfEachPointWhenWhatAndHowMuch) {
  world.show(readyStatus());
  EXPECT_EQ(cellText(0, Column::date), "day 19675");
  EXPECT_EQ(cellText(0, Column::label), "Before the update");
  EXPECT_EQ(cellText(0, Column::kind), "Full");
  EXPECT_EQ(cellText(2, Column::kind), "Increment");
  EXPECT_EQ(cellText(2, Column::disks), "Flash Disk");
  EXPECT_EQ(cellText(2, Column::size), "47 GB");
  EXPECT_TRUE(isChecked(0));
  EXPECT_FALSE(isChecked(1));
}

TEST_F(BackupPointsTable, SizesStandAtTheTrailingEdge) {
  world.show(readyStatus());
  EXPECT_TRUE(cell(0, Column::size).data(Qt::TextAlignmentRole).toInt() & Qt::AlignTrailing);
}

TEST_F(BackupPointsTable, ClickOnAPinAsksForItsLabelAndFlipsNothing) {
  world.show(readyStatus());
  clickPin(1);
  EXPECT_EQ(world.controller->modalSession(), modalsession::kIncrementLabel);
  EXPECT_FALSE(isChecked(1));
  QTest::keyClicks(world.find<QWidget>("incrementLabelField"), "Keep");
  world.click("actionButton");
  EXPECT_EQ(helper().lastCall("pin_arcItem_withLabel").arguments, (Array{true, 1, "Keep"}));
  EXPECT_FALSE(isChecked(1));
  world.show(statusWith({pointOf(0), pointOf(1, true), pointOf(2)}));
  EXPECT_TRUE(isChecked(1));
}

TEST_F(BackupPointsTable, ClickOnASetPinUnpinsOnceTheHelperSaysSo) {
  world.show(readyStatus());
  clickPin(0);
  EXPECT_EQ(helper().lastCall("pin_arcItem_withLabel").arguments.at(0), Value(false));
  EXPECT_TRUE(isChecked(0));
  world.show(statusWith(pointsOf(3)));
  EXPECT_FALSE(isChecked(0));
}

TEST_F(BackupPointsTable, SpaceTogglesThePinOfTheSelectedPoint) {
  world.show(readyStatus());
  activate();
  table()->setFocus();
  selectRow(0);
  QTest::keyClick(table(), Qt::Key_Space);
  EXPECT_EQ(helper().lastCall("pin_arcItem_withLabel").arguments.at(1), Value(0));
  selectRow(2);
  QTest::keyClick(table(), Qt::Key_Space);
  EXPECT_EQ(world.controller->modalSession(), modalsession::kIncrementLabel);
}

TEST_F(BackupPointsTable, SpaceElsewherePressesWhatHasTheFocus) {
  world.show(readyStatus());
  activate();
  selectRow(1);
  auto* button = world.find<QPushButton>("backupButton");
  button->setFocus();
  QTest::keyClick(button, Qt::Key_Space);
  EXPECT_EQ(helper().count("backup"), 1U);
  EXPECT_EQ(world.controller->modalSession(), modalsession::kNone);
}

TEST_F(BackupPointsTable, PinCannotBeClickedWhileAnOperationRunsAndSaysWhy) {
  world.show(readyStatus());
  world.show(backupStatus(10, {"line"}));
  action("showPointsAction")->trigger();
  clickPin(0);
  clickPin(1);
  EXPECT_EQ(helper().count("pin_arcItem_withLabel"), 0U);
  EXPECT_EQ(world.controller->modalSession(), modalsession::kNone);
  EXPECT_TRUE(cell(1, Column::pinned).data(Qt::ToolTipRole).toString().contains("An operation is running"));
}

TEST_F(BackupPointsTable, SelectionOutlivesTheSameListAndOneThatGrows) {
  world.show(statusWith(pointsOf(3)));
  selectRow(1);
  clickCell(2, Column::date, Qt::ControlModifier);
  EXPECT_EQ(world.controller->selectedArcItemsIndexes(), (IndexSet{1, 2}));
  world.show(statusWith(pointsOf(3)));
  world.show(statusWith(pointsOf(4)));
  EXPECT_EQ(world.controller->selectedArcItemsIndexes(), (IndexSet{1, 2}));
  EXPECT_EQ(table()->selectionModel()->selectedRows().size(), 2);
}

TEST_F(BackupPointsTable, SelectionIsGoneWithAnotherList) {
  world.show(statusWith(pointsOf(3)));
  selectRow(1);
  world.show(statusWith({pointOf(0), pointOf(2)}));
  EXPECT_EQ(world.controller->selectedArcItemsIndexes(), IndexSet{});
}

TEST_F(BackupPointsTable, ThousandPointsAreNotTouchedByARecordThatChangesOne) {
  Points points = pointsOf(1000);
  world.show(statusWith(points));
  int changes = 0;
  int rows = 0;
  int resets = 0;
  const QAbstractItemModel& model = *table()->model();
  QObject::connect(&model, &QAbstractItemModel::modelReset, &model, [&] { ++resets; });
  QObject::connect(&model, &QAbstractItemModel::dataChanged, &model,
                   [&](const QModelIndex& first, const QModelIndex& last) {
                     ++changes;
                     rows += last.row() - first.row() + 1;
                   });
  table()->scrollToBottom();
  const int place = table()->verticalScrollBar()->value();
  world.show(statusWith(points));
  EXPECT_EQ(changes, 0);
  points[500] = pointOf(500, true);
  world.show(statusWith(points));
  EXPECT_EQ(changes, 1);
  EXPECT_EQ(rows, 1);
  EXPECT_EQ(resets, 0);
  EXPECT_EQ(table()->verticalScrollBar()->value(), place);
}

TEST_F(BackupPointsTable, ButtonsSayWhyTheyCannotBeUsed) {
  world.show(statusWith({pointOf(0, true), pointOf(1), pointOf(2)}));
  const auto why = [this](const char* name) { return isEnabled(name) ? QString() : toolTip(name); };
  EXPECT_EQ(why("restoreButton"), "Select a backup point first.");
  EXPECT_EQ(why("mergeButton"), "Select a backup point first.");
  selectRow(0);
  EXPECT_TRUE(isEnabled("restoreButton"));
  EXPECT_EQ(why("mergeButton"), "The first backup point has none before it to be merged into.");
  selectRow(1);
  EXPECT_EQ(why("mergeButton"), "The backup point before it is pinned, and nothing is merged into that.");
  selectRow(2);
  EXPECT_TRUE(isEnabled("mergeButton"));
  EXPECT_EQ(toolTip("mergeButton"), QString());
  clickCell(1, Column::date, Qt::ControlModifier);
  EXPECT_EQ(why("restoreButton"), "Select one backup point only.");
  EXPECT_EQ(words("restoreButton"), "Select one backup point only.");
  EXPECT_EQ(why("openButton"), "This version of ZPK cannot open backup points.");
}

TEST_F(BackupPointsTable, PinThatComesWithARecordAllowsOrForbidsTheMerge) {
  world.show(statusWith(pointsOf(3)));
  selectRow(2);
  EXPECT_TRUE(isEnabled("mergeButton"));
  world.show(statusWith({pointOf(0), pointOf(1, true), pointOf(2)}));
  EXPECT_FALSE(isEnabled("mergeButton"));
  EXPECT_EQ(world.controller->selectedArcItemsIndexes(), IndexSet{2});
}

TEST_F(BackupPointsTable, RestoreAndMergeButtonsOpenTheirSheets) {
  world.show(readyStatus());
  selectRow(2);
  world.click("restoreButton");
  EXPECT_EQ(world.controller->modalSession(), modalsession::kRestoreTarget);
  QTest::keyClick(world.sheet(), Qt::Key_Escape);
  InterfaceWorld::settle();
  world.click("mergeButton");
  EXPECT_EQ(world.controller->modalSession(), modalsession::kMergeConfirmation);
  world.click("actionButton");
  EXPECT_EQ(helper().lastCall("mergeArchiveWithParent").arguments, Array{2});
}

// The row of buttons once kept to the left whatever the direction.
TEST_F(BackupPointsTable, ButtonsBeginWhereTheTableDoes) {
  world.show(readyStatus());
  const auto* button = world.find<QPushButton>("restoreButton");
  EXPECT_EQ(button->geometry().left(), table()->geometry().left());
  world.window->setLayoutDirection(Qt::RightToLeft);
  InterfaceWorld::settle();
  EXPECT_EQ(button->geometry().right(), table()->geometry().right());
}

TEST_F(BackupPointsTable, EmptyTableSaysWhatToDo) {
  const auto* view = table();
  EXPECT_EQ(view->accessibleDescription(), "Waiting for the helper…");
  world.show(idleStatus({bootCampDisk(1, "Disk")}));
  EXPECT_TRUE(view->accessibleDescription().contains("Choose the Windows disk"));
  Dictionary status = readyStatus();
  statuskey::arcState.set(status, ArcState::empty);
  world.show(status);
  EXPECT_TRUE(view->accessibleDescription().contains("The first backup makes the first one"));
  statuskey::arcState.set(status, ArcState::unavailable);
  world.show(status);
  EXPECT_TRUE(view->accessibleDescription().contains("cannot be read now"));
}

}  // namespace
}  // namespace zpk
