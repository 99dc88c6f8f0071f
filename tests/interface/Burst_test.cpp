// Records that come faster than a window can be painted.

#include <gtest/gtest.h>

#include <QAbstractItemView>
#include <QProgressBar>
#include <algorithm>
#include <vector>

#include "interface/InterfaceWorld.h"

namespace zpk {
namespace {

constexpr int kRecords = 1000;

// How often the window is brought up to date on the screen.
class UpdateCount final : public QObject {
 public:
  explicit UpdateCount(QWidget& window) { window.installEventFilter(this); }
  int updates = 0;

 private:
  bool eventFilter(QObject* /*window*/, QEvent* event) override {
    updates += event->type() == QEvent::UpdateRequest;
    return false;
  }
};

class Burst : public testing::Test {
 protected:
  Burst() {
    world.openWindow();
    world.show(backupStatus(0, {}));
  }

  // One record after the other without a turn of the event loop; each has done a tenth of a percent and written a
  // line more than the one before.
  void push(int records) {
    Array log;
    for (int i = 0; i < records; ++i) {
      log.emplace_back("line " + std::to_string(i));
      world.transport.push(backupStatus(i / 10.0, log));
    }
  }

  InterfaceWorld world;
};

TEST_F(Burst, EveryRecordIsProjectedInOrder) {
  std::vector<double> percents;
  const Token token = world.controller->observe(
      "progressPercents", [&] { percents.push_back(world.controller->progressPercents().doubleValue()); });
  push(kRecords);
  // The first says what the window had shown already.
  EXPECT_EQ(percents.size(), kRecords - 1U);
  EXPECT_TRUE(std::is_sorted(percents.begin(), percents.end()));
}

TEST_F(Burst, NewestRecordIsPaintedAndNoneBeforeIt) {
  UpdateCount count(*world.window);
  push(kRecords);
  EXPECT_EQ(count.updates, 0);
  world.settle();
  EXPECT_GE(count.updates, 1);
  // Once for what is shown, and once more when that moved something.
  EXPECT_LE(count.updates, 2);
  EXPECT_EQ(world.find<QProgressBar>("progressBar")->value(), 999);
  const auto* log = world.find<QAbstractItemView>("logView");
  const QModelIndex newest = log->model()->index(kRecords - 1, 0);
  EXPECT_EQ(newest.data().toString(), "line 999");
  EXPECT_TRUE(log->viewport()->rect().contains(log->visualRect(newest).center()));
}

}  // namespace
}  // namespace zpk
