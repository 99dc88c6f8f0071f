#include "mount/DeviceCollector.h"

#include "support/RecordingLog.h"

namespace zpk {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(DeviceCollector, KeepsPartitionsInTheOrderInWhichTheyAreNamed) {
  RecordingLog log;
  DeviceCollector collector(log);
  collector.note(0, "/dev/disk4\n");
  collector.note(0, "/dev/disk4s2\n");
  collector.note(0, "/dev/disk4s1\n");
  EXPECT_THAT(collector.devices(), ElementsAre("/dev/disk4s2", "/dev/disk4s1"));
}

TEST(DeviceCollector, LogsEveryLineAsItCame) {
  RecordingLog log;
  DeviceCollector collector(log);
  collector.note(1, "Connecting...");
  collector.note(0, "/dev/disk4\n");
  collector.note(-3, "");
  EXPECT_THAT(log.lines(), ElementsAre("ZPKUI::QRX(1): \"Connecting...\"", "ZPKUI::QRX(0): \"/dev/disk4\n\"",
                                       "ZPKUI::QRX(-3): \"\""));
}

TEST(DeviceCollector, AMessageThatReadsLikeADeviceIsOnlyLogged) {
  RecordingLog log;
  DeviceCollector collector(log);
  collector.note(1, "/dev/disk9s1\n");
  collector.note(2, "/dev/disk9s1\n");
  collector.note(-1, "/dev/disk9s1\n");
  EXPECT_THAT(collector.devices(), IsEmpty());
  EXPECT_EQ(log.count("ZPKUI::QRX(1): \"/dev/disk9s1\n\""), 1U);
}

}  // namespace
}  // namespace zpk
