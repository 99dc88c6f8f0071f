#include <gtest/gtest.h>

#include "mainwindow/ControllerWorld.h"

namespace zpk {
namespace {

TEST(FormattedTime, CountsHoursOnPastADay) {
  EXPECT_EQ(ZPKUIDaemonController::formattedTimeString(90'061), "25:01:01");
  EXPECT_EQ(ZPKUIDaemonController::formattedTimeString(0), "00:00:00");
  EXPECT_EQ(ZPKUIDaemonController::formattedTimeString(3'599), "00:59:59");
  EXPECT_EQ(ZPKUIDaemonController::formattedTimeString(360'000), "100:00:00");
}

TEST(FormattedTime, GivesNothingForNothing) {
  EXPECT_FALSE(ZPKUIDaemonController::formattedTimeString({}));
}

struct FlippedLog final : LogScrollView {
  bool documentViewIsFlipped() const override { return flipped; }
  double documentViewFrameY() const override { return 5; }
  double documentViewFrameHeight() const override { return 1000; }
  double contentViewBoundsHeight() const override { return 200; }
  void scrollDocumentViewToPoint(double x, double y) override {
    EXPECT_EQ(x, 0);
    target = y;
  }
  bool flipped = true;
  double target = -1;
};

TEST(LogScrolling, EndsAtTheNewestLineWhicheverWayTheYGrows) {
  ControllerWorld world;
  world.launch();
  FlippedLog view;
  world.controller->setLogScrollView(&view);
  world.push(backupStatus(1, {"line"}));
  EXPECT_EQ(view.target, 805);
  view.flipped = false;
  world.push(backupStatus(2, {"line"}));
  EXPECT_EQ(view.target, 0);
  world.controller->setLogScrollView(nullptr);
}

}  // namespace
}  // namespace zpk
