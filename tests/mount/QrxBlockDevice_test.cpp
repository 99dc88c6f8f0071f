#include "mount/virtualdisk/QrxBlockDevice.h"

#include "mount/DriveCall.h"

namespace zpk {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// The wait on its own, for the drive with the counting id.
struct Wait : DriveCall {
  void run() {
    const QrxLogCallback note = [this](int level, const char* text) { said.emplace_back(level, text); };
    QrxMessages out(note);
    reportBlockDevice(world, out, kCountingId);
    took = world.loop.now();
    for (const auto& [level, text] : said) {
      EXPECT_EQ(level, kQrxLevelResult);
      devices.push_back(text);
    }
  }
  Seconds took{0};
};

TEST(QrxBlockDevice, EveryMediumAtAnyDepthIsReportedInTheOrderOfTheTree) {
  Wait wait;
  const auto device = wait.world.addDevice(kCountingId);
  const auto disk = device->add("IOBlockStorageDriver")->addMedium("disk4");
  const auto scheme = disk->add("IOGUIDPartitionScheme");
  scheme->addMedium("disk4s1");
  scheme->add("IOSomethingElse")->addMedium("disk4s2");
  wait.run();
  EXPECT_THAT(wait.devices, ElementsAre("/dev/disk4\n", "/dev/disk4s1\n", "/dev/disk4s2\n"));
  EXPECT_EQ(wait.took, Seconds(0));
}

TEST(QrxBlockDevice, TheIdIsComparedWithoutRegardToCase) {
  Wait wait;
  wait.world.addDevice("000102030405060708090a0b0c0d0e0f")->addMedium("disk4");
  wait.run();
  EXPECT_THAT(wait.devices, ElementsAre("/dev/disk4\n"));
}

TEST(QrxBlockDevice, OtherDrivesAndDevicesWithoutIdAreLeftAlone) {
  Wait wait;
  wait.world.addDevice("FF")->addMedium("disk3");
  const auto nameless = wait.world.addDevice("");
  nameless->properties.clear();
  nameless->addMedium("disk5");
  wait.world.addDevice(kCountingId)->addMedium("disk4");
  wait.run();
  EXPECT_THAT(wait.devices, ElementsAre("/dev/disk4\n"));
}

TEST(QrxBlockDevice, ADeviceThatComesUpLaterIsFoundInALaterRound) {
  Wait wait;
  wait.world.addDevice(kCountingId, Seconds(0.25))->addMedium("disk4");
  wait.run();
  EXPECT_THAT(wait.devices, ElementsAre("/dev/disk4\n"));
  EXPECT_EQ(wait.world.deviceRounds.size(), 4U);
  EXPECT_NEAR(wait.took.count(), 0.3, 1e-9);
}

TEST(QrxBlockDevice, IsGivenUpAfterElevenRounds) {
  Wait wait;
  wait.run();
  EXPECT_THAT(wait.devices, IsEmpty());
  ASSERT_EQ(wait.world.deviceRounds.size(), 11U);
  EXPECT_NEAR(wait.world.deviceRounds.back().count(), 1.0, 1e-9);
}

TEST(QrxBlockDevice, TheEleventhRoundStillCounts) {
  Wait wait;
  wait.world.addDevice(kCountingId, Seconds(0.95))->addMedium("disk4");
  wait.run();
  EXPECT_THAT(wait.devices, ElementsAre("/dev/disk4\n"));
}

TEST(QrxBlockDevice, ARoundWithoutAListOfDevicesIsFruitless) {
  Wait unlisted;
  unlisted.world.noServicesFor = "com_tarnwick_qrx_block_device";
  unlisted.world.addDevice(kCountingId)->addMedium("disk4");
  unlisted.run();
  EXPECT_THAT(unlisted.devices, IsEmpty());
  EXPECT_NEAR(unlisted.took.count(), 1.0, 1e-9);

  Wait unmatched;
  unmatched.world.noMatchingFor = "com_tarnwick_qrx_block_device";
  unmatched.run();
  EXPECT_NEAR(unmatched.took.count(), 1.0, 1e-9);
}

TEST(QrxBlockDevice, AMediumsNameIsWaitedFor) {
  Wait wait;
  const auto medium = wait.world.addDevice(kCountingId)->addMedium("disk4");
  medium->propertiesFrom = Seconds(0.45);
  wait.run();
  EXPECT_THAT(wait.devices, ElementsAre("/dev/disk4\n"));
  EXPECT_EQ(medium->reads["BSD Name"], 6);
}

TEST(QrxBlockDevice, AMediumWithoutNameIsGivenUpAfterSixTriesAndTheNextOneIsReported) {
  Wait wait;
  const auto device = wait.world.addDevice(kCountingId);
  const auto silent = device->add("IOMedia");
  silent->addMedium("disk4s1");
  wait.run();
  EXPECT_EQ(silent->reads["BSD Name"], 6);
  EXPECT_THAT(wait.devices, ElementsAre("/dev/disk4s1\n"));
  EXPECT_NEAR(wait.took.count(), 0.5, 1e-9);
}

TEST(QrxBlockDevice, ADeviceWithoutAnyMediumEndsTheWait) {
  Wait wait;
  wait.world.addDevice(kCountingId)->add("IOBlockStorageDriver");
  wait.run();
  EXPECT_THAT(wait.devices, IsEmpty());
  EXPECT_EQ(wait.world.deviceRounds.size(), 1U);
}

}  // namespace
}  // namespace zpk
