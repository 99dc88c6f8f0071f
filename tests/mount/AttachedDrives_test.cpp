#include "mount/AttachedDrives.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "mount/DriveControlDouble.h"
#include "support/VirtualRunLoop.h"

namespace zpk {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class OpenedPoints : public testing::Test {
 protected:
  OpenedPoints() {
    drives.start();
    observation = drives.observe("drives", [this] { ++announced; });
    lostObservation = drives.observe("lostDrives", [this] { ++lossesAnnounced; });
  }

  VirtualRunLoop loop;
  DriveControlDouble control;
  AttachedDrives drives{control, loop};
  int announced = 0;
  int lossesAnnounced = 0;
  int closed = 0;
  Token observation;
  Token lostObservation;
};

TEST_F(OpenedPoints, AreFollowedAsTheyComeAndGo) {
  EXPECT_THAT(drives.drives(), IsEmpty());
  control.attach("A", "/b/p0/disk0.pvhd");
  control.attach("B", "/b/p0/disk1.pvhd");
  EXPECT_THAT(drives.drives(),
              ElementsAre(AttachedDrive{"A", "/b/p0/disk0.pvhd"}, AttachedDrive{"B", "/b/p0/disk1.pvhd"}));
  control.end("A");
  EXPECT_THAT(drives.drives(), SizeIs(1));
  EXPECT_EQ(announced, 3);
  EXPECT_EQ(lossesAnnounced, 0);
}

TEST_F(OpenedPoints, OfAnEarlierTimeAreFoundAndItsRemainsTakenAway) {
  control.attach("A", "/b/p0/disk0.pvhd");
  AttachedDrives later(control, loop);
  later.start();
  EXPECT_THAT(later.drives(), SizeIs(1));
  EXPECT_EQ(control.cleanings, 2);
}

TEST_F(OpenedPoints, ThatDoNotShowAllOfTheirImageAreToldOfOnce) {
  int partsAnnounced = 0;
  const Token parts = drives.observe("partialDrives", [&] { ++partsAnnounced; });
  control.attach("A", "/a");
  EXPECT_EQ(partsAnnounced, 0);
  control.attach("B", "/b", "Partition 3 is missing");
  EXPECT_EQ(partsAnnounced, 1);
  EXPECT_THAT(drives.takePartialDrives(), ElementsAre(AttachedDrive{"B", "/b", "Partition 3 is missing"}));
  EXPECT_THAT(drives.takePartialDrives(), IsEmpty());
  control.end("A");
  EXPECT_EQ(partsAnnounced, 1);
}

TEST_F(OpenedPoints, OfAnEarlierTimeHaveBeenToldOf) {
  control.attach("A", "/a", "Partition 3 is missing");
  AttachedDrives later(control, loop);
  int partsAnnounced = 0;
  const Token parts = later.observe("partialDrives", [&] { ++partsAnnounced; });
  later.start();
  EXPECT_THAT(later.drives(), SizeIs(1));
  EXPECT_EQ(partsAnnounced, 0);
  EXPECT_THAT(later.takePartialDrives(), IsEmpty());
}

TEST_F(OpenedPoints, AreAllClosedAndThenItIsSaid) {
  control.attach("A", "/a");
  control.attach("B", "/b");
  drives.closeAll([this] { ++closed; });
  EXPECT_THAT(control.detached, ElementsAre("A", "B"));
  EXPECT_THAT(drives.drives(), IsEmpty());
  EXPECT_EQ(closed, 1);
  EXPECT_FALSE(drives.isClosing());
  EXPECT_THAT(control.removed, IsEmpty());
  EXPECT_EQ(loop.pendingCount(), 0U);
}

TEST_F(OpenedPoints, ClosingNoneIsDoneAtOnce) {
  drives.closeAll([this] { ++closed; });
  EXPECT_EQ(closed, 1);
}

TEST_F(OpenedPoints, AServerThatDoesNotEndIsKilled) {
  control.stubborn = true;
  control.attach("A", "/a");
  drives.closeAll([this] { ++closed; });
  EXPECT_TRUE(drives.isClosing());
  loop.advance(kDetachPatience - Seconds(0.1));
  EXPECT_THAT(control.removed, IsEmpty());
  loop.advance(Seconds(0.2));
  EXPECT_THAT(control.removed, ElementsAre("A"));
  EXPECT_EQ(closed, 1);
  EXPECT_EQ(lossesAnnounced, 0);
}

TEST_F(OpenedPoints, WhatCannotBeKilledIsNotWaitedForForEver) {
  control.stubborn = control.immortal = true;
  control.attach("A", "/a");
  drives.closeAll([this] { ++closed; });
  loop.advance(kDetachPatience + kRemovalPatience + Seconds(0.1));
  EXPECT_EQ(closed, 1);
  EXPECT_FALSE(drives.isClosing());
  EXPECT_THAT(drives.drives(), SizeIs(1));
  EXPECT_EQ(loop.pendingCount(), 0U);
}

TEST_F(OpenedPoints, AskedTwiceAreAskedToEndOnce) {
  control.stubborn = true;
  control.attach("A", "/a");
  drives.closeAll([this] { ++closed; });
  drives.closeAll([this] { ++closed; });
  EXPECT_THAT(control.detached, ElementsAre("A"));
  control.end("A");
  EXPECT_EQ(closed, 2);
}

TEST_F(OpenedPoints, OneThatIsOpenedMeanwhileStays) {
  control.stubborn = true;
  control.attach("A", "/a");
  drives.closeAll([this] { ++closed; });
  control.attach("B", "/b");
  control.end("A");
  EXPECT_EQ(closed, 1);
  EXPECT_THAT(drives.drives(), ElementsAre(AttachedDrive{"B", "/b"}));
}

TEST_F(OpenedPoints, WhoseServerIsKilledAreToldOfOnceAndTakenAway) {
  control.attach("A", "/a");
  control.lose("A");
  EXPECT_EQ(lossesAnnounced, 1);
  EXPECT_THAT(control.removed, ElementsAre("A"));
  EXPECT_THAT(drives.takeLostDrives(), ElementsAre(AttachedDrive{"A", "/a"}));
  EXPECT_THAT(drives.takeLostDrives(), IsEmpty());
  control.attach("B", "/b");
  EXPECT_EQ(lossesAnnounced, 1);
}

TEST_F(OpenedPoints, WhoseServerIsKilledWhileTheyAreClosedAreNotLost) {
  control.stubborn = true;
  control.attach("A", "/a");
  drives.closeAll();
  control.lose("A");
  EXPECT_EQ(lossesAnnounced, 0);
  EXPECT_FALSE(drives.isClosing());
}

}  // namespace
}  // namespace zpk
