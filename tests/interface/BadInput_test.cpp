// What a helper, a disk or a file could say instead of what is expected, in the window. Nothing may crash, and the
// work done stays bounded: texts that reach a control are short, lists are as long as what is on the screen needs
// them.

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QLabel>
#include <QProgressBar>
#include <cmath>
#include <limits>

#include "interface/DisplayText.h"
#include "interface/InterfaceWorld.h"

namespace zpk {
namespace {

constexpr int kLongestShown = 2048;

const std::string& endless() {
  static const std::string text(100'000, 'W');
  return text;
}

// Markup that would load a file, run over its line, ring, hide and turn around what follows.
const std::string kHostile =
    "<b>bold</b><img src='/etc/passwd'>&lt;\n\r\x1B[31m\x07\t\u202Egpj.exe\u2066\u200B\uFEFFend";

std::shared_ptr<const ZPKDisk> diskNamed(std::uint8_t number, const std::string& name) {
  auto fields = bootCampDisk(number, name)->fields();
  auto windows = fields.partitions->back()->fields();
  windows.name = name;
  windows.mountPoint = "/" + name;
  fields.partitions->back() = std::make_shared<const RLDPartition>(windows);
  return ZPKDisk::diskWithDisk(RLDDisk(fields));
}

// Everything that can hold a text holds this one.
Dictionary everywhere(const std::string& text) {
  const auto disk = diskNamed(1, text);
  Dictionary status = idleStatus({disk, diskNamed(2, text)});
  statuskey::sourceDisk.set(status, identifierOf(*disk));
  statuskey::targetArchive.set(status, "/" + text + "/" + text + ".rldbackup");
  statuskey::lastBackupError.set(status, text);
  statuskey::archiveDescription.set(status, archiveOf({backupPoint(0, text, 0), backupPoint(1, text, 1e300)}));
  return status;
}

class BadInput : public testing::Test {
 protected:
  BadInput() { world.openWindow(); }

  // Every text in a control and in a row that is shown, of the window and of its sheets.
  std::vector<QString> shownTexts() const {
    std::vector<QString> texts{world.window->windowTitle()};
    for (const QWidget* widget : world.window->findChildren<QWidget*>()) {
      texts.push_back(widget->toolTip());
      texts.push_back(widget->accessibleName());
      texts.push_back(widget->accessibleDescription());
      if (const auto* label = qobject_cast<const QLabel*>(widget)) texts.push_back(label->text());
      if (const auto* button = qobject_cast<const QAbstractButton*>(widget)) texts.push_back(button->text());
      if (const auto* view = qobject_cast<const QAbstractItemView*>(widget)) addFirstRows(*view, texts);
    }
    return texts;
  }

  static void addFirstRows(const QAbstractItemView& view, std::vector<QString>& texts) {
    const QAbstractItemModel* model = view.model();
    for (int row = 0; model && row < std::min(model->rowCount(), 50); ++row) {
      for (int column = 0; column < model->columnCount(); ++column) {
        for (const int role : {Qt::DisplayRole, Qt::ToolTipRole, Qt::AccessibleTextRole}) {
          texts.push_back(model->index(row, column).data(role).toString());
        }
      }
    }
  }

  void expectHarmless(const std::string& where) const {
    for (const QString& text : shownTexts()) {
      EXPECT_LE(text.size(), std::max(kLongestShown, static_cast<int>(kLogLineLimit)))
          << where << ": " << text.left(80).toStdString();
      for (const QChar c : text) {
        const bool control = (c.unicode() < 0x20 && c != u'\n') || c.unicode() == 0x7F || c.unicode() == 0x202E;
        EXPECT_FALSE(control) << where << ": " << text.left(80).toStdString();
        if (control) break;
      }
    }
    for (const QLabel* label : world.window->findChildren<QLabel*>()) {
      if (label->text().contains(u'<')) {
        EXPECT_EQ(label->textFormat(), Qt::PlainText) << where << ": " << label->objectName().toStdString();
      }
    }
  }

  // The window with it, then each sheet.
  void showEverywhere(const Dictionary& status) {
    world.show(status);
    world.window->grab();
    expectHarmless("window");
    world.controller->setSelectedArcItemsIndexes({1});
    for (std::int32_t session = 1; session <= 8; ++session) {
      world.controller->setModalSession(session);
      InterfaceWorld::settle();
      ASSERT_NE(world.sheet(), nullptr) << session;
      world.sheet()->grab();
      EXPECT_LT(world.sheet()->width(), 1000) << session;
      EXPECT_LT(world.sheet()->height(), 800) << session;
      expectHarmless("sheet " + std::to_string(session));
    }
    world.controller->setModalSession(0);
    InterfaceWorld::settle();
  }

  InterfaceWorld world;
};

TEST_F(BadInput, TextsOfAnyLengthAndContentAreShownAsShortPlainText) {
  world.show(readyStatus());
  const QSize least = world.window->minimumSizeHint();
  for (const std::string& text : {endless(), kHostile, std::string("\xFF\xFE\x80"), std::string(5000, '\n'),
                                  std::string(), std::string(1, '\0')}) {
    showEverywhere(everywhere(text));
    EXPECT_EQ(world.window->minimumSizeHint().width(), least.width());
    Dictionary failed = everywhere(text);
    statuskey::opError.set(failed, text);
    world.show(failed);
    expectHarmless("error");
    world.controller->sheetCancelAction();
    InterfaceWorld::settle();
  }
}

TEST_F(BadInput, NamesOfARunningOperationAreShownAsShortPlainText) {
  for (const std::string& text : {endless(), kHostile}) {
    for (const ProgressType type : {ProgressType::backup, ProgressType::restore, ProgressType::merge}) {
      Dictionary status = everywhere(text);
      statuskey::state.set(status, HelperState::inProgress);
      statuskey::progressType.set(status, type);
      statuskey::mergeIndex.set(status, 1);
      statuskey::restoreTarget.set(status, diskNamed(3, text));
      statuskey::fullLog.set(status, Array{text, Value(), 7, text});
      world.show(status);
      world.window->grab();
      expectHarmless("in progress");
    }
  }
}

TEST_F(BadInput, ThousandsOfDisksAndPointsAreListedWithoutAWidgetEach) {
  std::vector<std::shared_ptr<const ZPKDisk>> disks(10'000, diskNamed(2, "Disk"));
  disks.front() = diskNamed(1, "Source");
  std::vector<std::shared_ptr<const RLDArchiveItem>> points;
  for (std::uint32_t i = 0; i < 1'000; ++i) points.push_back(backupPoint(i, "Point", 1e9 + i, i % 2 == 0));
  Dictionary status = idleStatus(std::move(disks));
  statuskey::sourceDisk.set(status, identifierOf(*diskNamed(1, "Source")));
  statuskey::targetArchive.set(status, "/backups/a.rldbackup");
  statuskey::archiveDescription.set(status, archiveOf(std::move(points)));
  world.show(status);
  const auto before = world.window->findChildren<QWidget*>().size();
  world.show(status);
  EXPECT_EQ(world.find<QAbstractItemView>("arcItemsTable")->model()->rowCount(), 1'000);
  world.controller->selectSourceAction();
  InterfaceWorld::settle();
  world.sheet()->grab();
  const int rows = world.find<QAbstractItemView>("disksListContentView")->model()->rowCount();
  EXPECT_GT(rows, 100);
  EXPECT_LE(rows, 10'000);
  EXPECT_LT(world.window->findChildren<QWidget*>().size() - before, 100);
}

TEST_F(BadInput, LogLinesOfAMegabyteAreCutBeforeTheyAreLaidOut) {
  const std::string line(1'000'000, 'x');
  world.show(backupStatus(1, Array{line, line, "last"}));
  world.window->grab();
  const QAbstractItemModel* model = world.find<QAbstractItemView>("logView")->model();
  EXPECT_EQ(model->rowCount(), 3);
  EXPECT_LE(model->index(0, 0).data().toString().size(), kLogLineLimit);
}

TEST_F(BadInput, AbsurdPercentagesStayWithinTheBar) {
  const auto* bar = world.find<QProgressBar>("progressBar");
  using Limits = std::numeric_limits<double>;
  for (const double percent : {-1.0, -Limits::infinity(), Limits::quiet_NaN()}) {
    world.show(backupStatus(percent, {}));
    EXPECT_EQ(bar->value(), 0) << percent;
    EXPECT_EQ(world.find<QLabel>("percentLabel")->text(), "0%") << percent;
  }
  for (const double percent : {100.0, 1e300, Limits::infinity()}) {
    world.show(backupStatus(percent, {}));
    EXPECT_EQ(bar->value(), bar->maximum()) << percent;
    EXPECT_EQ(world.find<QLabel>("percentLabel")->text(), "100%") << percent;
  }
}

TEST_F(BadInput, AbsurdSizesAreShownWithoutOverflow) {
  const auto showSizes = [this](std::uint64_t size, std::uint64_t used) {
    auto fields = bootCampDisk(1, "Disk")->fields();
    auto windows = fields.partitions->back()->fields();
    windows.partSize = size;
    windows.partUsedSize = used;
    fields.partitions->back() = std::make_shared<const RLDPartition>(windows);
    Dictionary status = readyStatus();
    statuskey::disks.set(status, {ZPKDisk::diskWithDisk(RLDDisk(fields))});
    world.show(status);
    world.window->grab();
    return world.find<QWidget>("sourceCard")->accessibleDescription();
  };
  constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
  EXPECT_TRUE(showSizes(kMost, 0).contains("0 B used, 18447 PB free"));
  EXPECT_TRUE(showSizes(kMost, kMost).contains("18447 PB used, 0 B free"));
  // Uses more than it has: what is free has wrapped around, so nothing is.
  EXPECT_TRUE(showSizes(10, 11).contains("10 B used, 0 B free"));
  EXPECT_TRUE(showSizes(0, 0).contains("0 B used, 0 B free"));
}

TEST_F(BadInput, AbsurdTimesAndLimitsAreShown) {
  Dictionary status = backupStatus(1, {});
  status.set("elapsedtime", -1);
  status.set("remainingtime", std::numeric_limits<double>::infinity());
  world.show(status);
  EXPECT_TRUE(world.find<QLabel>("timesLabel")->text().contains("2023406815:00:15"));
  for (const Value& count : {Value(0), Value(-1), Value(std::numeric_limits<std::uint64_t>::max())}) {
    Dictionary ready = readyStatus();
    ready.set("maxinccount", count);
    world.show(ready);
    world.window->grab();
    expectHarmless("limit");
  }
}

}  // namespace
}  // namespace zpk
