#include "mount/virtualdisk/QrxCreateDrive.h"

#include <cstring>

#include "mount/DriveCall.h"
#include "mount/virtualdisk/QrxHelperLaunch.h"

namespace zpk {
namespace {

using std::string;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::Pair;
using testing::StartsWith;

constexpr DriverCode kNotPermitted = -536870174;  // 0xe00002e2

const string kLookingFor = "Looking for QRX Contoller...\n";

TEST(QrxCreateDrive, SaysEachStepOfAnAttach) {
  DriveCall call;
  call.world.addDevice(kCountingId)->addMedium("disk4")->addMedium("disk4s2");
  EXPECT_EQ(call.run(), 0);
  EXPECT_THAT(call.said,
              ElementsAre(Pair(1, kLookingFor), Pair(1, "Connecting..."), Pair(1, " OK.\n"),
                          Pair(1, "Creating new drive..."), Pair(1, " OK.\n"),
                          Pair(1, "New vd id: 000102030405060708090A0B0C0D0E0F\n"),
                          Pair(1, "Launched helper with pid = 4711, id = 000102030405060708090A0B0C0D0E0F\n"),
                          Pair(1, "launch res = 0\n"), Pair(1, "Running comand... "),
                          Pair(1, "Command callback(0x12345678)\n"), Pair(1, "OK.\n"), Pair(0, "/dev/disk4\n"),
                          Pair(0, "/dev/disk4s2\n"), Pair(1, "Closing connection..."), Pair(1, " OK.\n")));
  EXPECT_TRUE(call.saysNothingOfAnError());
}

TEST(QrxCreateDrive, DoesEachStepInItsOrder) {
  DriveCall call;
  call.world.addDevice(kCountingId);
  call.run();
  EXPECT_THAT(call.world.journal,
              ElementsAre("bundle file:///Library/Extensions/QrxMounter.kext/", "open 0 type 0", "call 0",
                          "spawn /Library/Extensions/QrxMounter.kext/Contents/Resources/qrx-helper",
                          "run _qrxapi_run_loop_", "close", "port destroyed"));
}

TEST(QrxCreateDrive, HandsTheControllerTheRequestWithTheCallersUser) {
  DriveCall call;
  call.request.uid = 1;
  call.request.flags = 0x80000001;
  call.run();
  ASSERT_EQ(call.world.requests.size(), 1U);
  const Bytes& arrived = call.world.requests.front();
  ASSERT_EQ(arrived.size(), 1056U);
  EXPECT_EQ(call.request.uid, 501U);
  EXPECT_EQ(std::memcmp(arrived.data(), &call.request, arrived.size()), 0);
}

TEST(QrxCreateDrive, FillsInTheImageFormatForTheOtherCommandOnly) {
  DriveCall other;
  other.request.command = 1;
  setImagePath(other.request, "/x/disk.VHDX");
  other.run();
  EXPECT_EQ(other.world.requests.front()[4], 6);
  EXPECT_EQ(other.request.imageFormat, 6U);

  DriveCall given;
  given.request.command = 1;
  given.request.imageFormat = 2;
  setImagePath(given.request, "/x/disk.VHDX");
  given.run();
  EXPECT_EQ(given.request.imageFormat, 2U);

  DriveCall hidden;
  hidden.request.command = 1;
  setImagePath(hidden.request, "/x/.vhd");
  hidden.run();
  EXPECT_EQ(hidden.request.imageFormat, 0U);

  DriveCall attach;
  attach.run();
  EXPECT_EQ(attach.request.imageFormat, 0U);
}

TEST(QrxCreateDrive, TheOtherCommandWaitsForNoDevice) {
  DriveCall call;
  call.request.command = 1;
  call.world.addDevice(kCountingId)->addMedium("disk4");
  EXPECT_EQ(call.run(), 0);
  EXPECT_THAT(call.devices, IsEmpty());
  EXPECT_THAT(call.world.deviceRounds, IsEmpty());
}

TEST(QrxCreateDrive, CopiesTheResultsElevenWords) {
  DriveCall call;
  call.world.completions.front().words = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 0xFFFF'FFFF'FFFF'FFFF};
  EXPECT_EQ(call.run(), 0);
  EXPECT_EQ(call.result.words,
            (std::array<std::uint64_t, 11>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 0xFFFF'FFFF'FFFF'FFFF}));
}

TEST(QrxCreateDrive, NeedsNeitherCallbackNorErrorBufferNorResult) {
  DriveCall working;
  EXPECT_EQ(qrxCreateDrive(working.world, working.request, {}, nullptr, nullptr), 0);

  DriveCall failing;
  failing.world.completions.front() = {.result = 9, .errorMessage = "no"};
  EXPECT_EQ(qrxCreateDrive(failing.world, failing.request, {}, nullptr, nullptr), 9);

  DriveCall missing;
  missing.world.installed = false;
  EXPECT_EQ(qrxCreateDrive(missing.world, missing.request, {}, nullptr, nullptr), 1);
}

TEST(QrxCreateDrive, FailsWithoutTheDriver) {
  DriveCall call;
  call.world.installed = false;
  EXPECT_EQ(call.run(), 1);
  EXPECT_THAT(call.said, ElementsAre(Pair(1, "Kext com.tarnwick.kext.QrxMounter not found.\n")));
  EXPECT_EQ(call.why(), "QRX API Error.");
  EXPECT_EQ(call.errorText[511], '\0');
  EXPECT_TRUE(call.resultIsUntouched());
  EXPECT_THAT(call.world.journal, IsEmpty());
}

TEST(QrxCreateDrive, FailsWhenTheDriverIsNoBundle) {
  DriveCall call;
  call.world.bundleOpens = false;
  EXPECT_EQ(call.run(), 1);
  EXPECT_EQ(call.messages, "Can't get kext bundle.\n");
  EXPECT_EQ(call.why(), "QRX API Error.");
}

TEST(QrxCreateDrive, FailsWithoutAMatchingDictionary) {
  DriveCall call;
  call.world.noMatchingFor = "com_tarnwick_qrx_controller";
  EXPECT_EQ(call.run(), 1);
  EXPECT_EQ(call.messages, "No matching dict.\n");
  EXPECT_EQ(call.why(), "QRX API Error.");
}

TEST(QrxCreateDrive, FailsWhenTheServicesCannotBeListed) {
  DriveCall call;
  call.world.noServicesFor = "com_tarnwick_qrx_controller";
  EXPECT_EQ(call.run(), 1);
  EXPECT_EQ(call.messages, "Can't get matching services.\n");
  EXPECT_EQ(call.why(), "QRX API Error.");
}

TEST(QrxCreateDrive, FailsWithoutAController) {
  DriveCall call;
  call.world.controllers.clear();
  EXPECT_EQ(call.run(), 1);
  EXPECT_EQ(call.messages, kLookingFor + "No service found.\n");
  EXPECT_EQ(call.why(), "QRX API Error.");
}

TEST(QrxCreateDrive, TriesTheNextControllerWhenOneRefusesTheConnection) {
  DriveCall call;
  call.world.controllers = {{kNotPermitted}, {0}, {0}};
  EXPECT_EQ(call.run(), 0);
  EXPECT_THAT(call.messages,
              StartsWith(kLookingFor + "Connecting... Connection error: 0xe00002e2 (iokit/common) not permitted\n" +
                         "Connecting... OK.\nCreating new drive... OK.\n"));
  EXPECT_THAT(call.world.journal, Not(testing::Contains("open 2 type 0")));
}

TEST(QrxCreateDrive, FailsWhenEveryControllerRefusesTheConnection) {
  DriveCall call;
  call.world.controllers = {{kNotPermitted}, {5}};
  EXPECT_EQ(call.run(), 1);
  EXPECT_EQ(call.messages, kLookingFor +
                               "Connecting... Connection error: 0xe00002e2 (iokit/common) not permitted\n"
                               "Connecting... Connection error: 0x5 (iokit/common) not permitted\n"
                               "No service found.\n");
}

TEST(QrxCreateDrive, ARefusedCallIsAnsweredWithItsCode) {
  DriveCall call;
  call.world.callCode = kNotPermitted;
  EXPECT_EQ(call.run(), kNotPermitted);
  EXPECT_EQ(call.why(), "QRX API Error.");
  EXPECT_TRUE(call.resultIsUntouched());
  EXPECT_THAT(call.messages,
              EndsWith("Creating new drive... Call method error: 0xe00002e2 (iokit/common) not permitted\n"
                       "Closing connection... OK.\n"));
  EXPECT_THAT(call.world.spawned, IsEmpty());
}

// The status that decides about the wait for the device was never set, so a refused attach goes through it with an
// empty id.
TEST(QrxCreateDrive, ARefusedAttachStillLooksForADeviceWithoutId) {
  DriveCall call;
  call.world.callCode = kNotPermitted;
  call.world.addDevice(kCountingId)->addMedium("disk4");
  call.run();
  EXPECT_EQ(call.world.deviceRounds.size(), 11U);
  EXPECT_THAT(call.devices, IsEmpty());

  DriveCall nameless;
  nameless.world.callCode = kNotPermitted;
  nameless.world.addDevice("")->addMedium("disk7");
  nameless.run();
  EXPECT_THAT(nameless.devices, ElementsAre("/dev/disk7\n"));

  DriveCall other;
  other.request.command = 1;
  other.world.callCode = kNotPermitted;
  other.run();
  EXPECT_THAT(other.world.deviceRounds, IsEmpty());
}

TEST(QrxCreateDrive, TheHelperGetsItsPathAndTheIdAndNothingElse) {
  DriveCall call;
  call.run();
  EXPECT_THAT(call.world.spawned,
              ElementsAre(ElementsAre("/Library/Extensions/QrxMounter.kext/Contents/Resources/qrx-helper",
                                      "000102030405060708090A0B0C0D0E0F")));
}

TEST(QrxCreateDrive, GoesOnWithoutAHelper) {
  DriveCall call;
  call.world.helperPath = std::nullopt;
  EXPECT_EQ(call.run(), 0);
  EXPECT_THAT(call.messages, HasSubstr("0E0F\nNo path.\nlaunch res = -1\nRunning comand... "));
  EXPECT_THAT(call.world.spawned, IsEmpty());
}

TEST(QrxCreateDrive, GoesOnWhenTheHelperCannotBeStarted) {
  DriveCall call;
  call.world.spawnError = 13;
  EXPECT_EQ(call.run(), 0);
  EXPECT_THAT(call.messages, HasSubstr("0E0F\nlaunch res = -1\nRunning comand... "));
  EXPECT_THAT(call.world.printed, ElementsAre("spawn_error 13"));
}

TEST(QrxHelperLaunch, SaysSoWithoutAnId) {
  DriveCall call;
  string said;
  const QrxLogCallback note = [&](int, const char* text) { said += text; };
  QrxMessages messages(note);
  EXPECT_EQ(launchQrxHelper(call.world, messages, "/qrx-helper", nullptr), -1);
  EXPECT_EQ(said, "Wrong id!\n");
  EXPECT_THAT(call.world.spawned, IsEmpty());
}

TEST(QrxCreateDrive, ReportsWhatTheControllerSaysWentWrong) {
  DriveCall call;
  call.world.completions.front() = {.result = 22, .errorMessage = "Can't open image", .words = {5}};
  call.world.addDevice(kCountingId)->addMedium("disk4");
  EXPECT_EQ(call.run(), 22);
  EXPECT_EQ(call.why(), "Can't open image");
  EXPECT_THAT(call.messages, EndsWith("Running comand... Command callback(0x12345678)\nError: Can't open image\n"
                                      "Closing connection... OK.\n"));
  EXPECT_TRUE(call.resultIsUntouched());
  EXPECT_THAT(call.world.deviceRounds, IsEmpty());
}

TEST(QrxCreateDrive, AnEmptyErrorMessageStaysEmpty) {
  DriveCall call;
  call.world.completions.front() = {.result = -5};
  EXPECT_EQ(call.run(), -5);
  EXPECT_EQ(call.why(), "");
  EXPECT_THAT(call.messages, HasSubstr("\nError: \n"));
}

TEST(QrxCreateDrive, AnErrorMessageWithoutEndIsCutToItsBuffer) {
  DriveCall call;
  call.world.completions.front() = {
      .result = 1, .errorMessage = string(512, 'x'), .words = {0x7979'7979'7979'7979}};
  EXPECT_EQ(call.run(), 1);
  EXPECT_EQ(call.why(), string(511, 'x'));
  EXPECT_THAT(call.said, testing::Contains(Pair(1, "Error: " + string(504, 'x'))));
}

TEST(QrxCreateDrive, AMessageOf511BytesIsPassedWhole) {
  DriveCall call;
  call.world.completions.front() = {.result = 1, .errorMessage = string(503, 'x')};
  call.run();
  EXPECT_THAT(call.said, testing::Contains(Pair(1, "Error: " + string(503, 'x') + "\n")));
}

TEST(QrxCreateDrive, AMessageOf512BytesLosesItsLast) {
  DriveCall call;
  call.world.completions.front() = {.result = 1, .errorMessage = string(504, 'x')};
  call.run();
  EXPECT_THAT(call.said, testing::Contains(Pair(1, "Error: " + string(504, 'x'))));
}

TEST(QrxCreateDrive, NoNoticeWithinAMinuteCountsAsSuccess) {
  DriveCall call;
  call.world.completions.clear();
  EXPECT_EQ(call.run(), 0);
  EXPECT_EQ(call.world.runTook, Seconds(60));
  EXPECT_THAT(call.devices, IsEmpty());
  EXPECT_EQ(call.result, QrxDriveResult{});
  EXPECT_THAT(call.messages, EndsWith("Running comand... OK.\nClosing connection... OK.\n"));
}

TEST(QrxCreateDrive, ADeviceThatShowsUpWithoutNoticeIsReported) {
  DriveCall call;
  call.world.completions.clear();
  call.world.addDevice(kCountingId, Seconds(60.25))->addMedium("disk4");
  EXPECT_EQ(call.run(), 0);
  EXPECT_THAT(call.devices, ElementsAre("/dev/disk4\n"));
}

TEST(QrxCreateDrive, ANoticeJustInTimeIsHeardAndALaterOneIsNot) {
  DriveCall inTime;
  inTime.world.completions.front() = {.after = Seconds(59.9), .result = 3};
  EXPECT_EQ(inTime.run(), 3);

  DriveCall late;
  late.world.completions.front() = {.after = Seconds(60.1), .result = 3};
  EXPECT_EQ(late.run(), 0);
  late.world.loop.runInMode(kQrxRunLoopMode, Seconds(10));
  EXPECT_THAT(late.messages, Not(HasSubstr("Command callback")));
}

TEST(QrxCreateDrive, OtherSourcesOfTheModeDoNotEndTheWait) {
  DriveCall call;
  call.world.completions.front() = {.after = Seconds(5), .result = 4};
  int served = 0;
  for (const double at : {1.0, 2.0, 3.0})
    call.world.loop.input(Seconds(at), [&] { ++served; }, {string(kQrxRunLoopMode)});
  EXPECT_EQ(call.run(), 4);
  EXPECT_EQ(served, 3);
  EXPECT_EQ(call.world.runTook, Seconds(5));
}

TEST(QrxCreateDrive, NothingElseOfTheProgramRunsMeanwhile) {
  DriveCall call;
  call.world.completions.front().after = Seconds(30);
  int ran = 0;
  const Token timer = call.world.loop.scheduledTimer(Seconds(2), [&] { ++ran; });
  call.world.loop.performAfterDelay(Seconds(1), [&] { ++ran; });
  call.run();
  EXPECT_EQ(ran, 0);
  call.world.loop.turn();
  EXPECT_EQ(ran, 2);
}

TEST(QrxCreateDrive, AFailingCloseIsSaidAndChangesNothing) {
  DriveCall call;
  call.world.closeCode = kNotPermitted;
  EXPECT_EQ(call.run(), 0);
  EXPECT_THAT(call.messages,
              EndsWith("Closing connection... Close error: 0xe00002e2 (iokit/common) not permitted\n"));
  EXPECT_TRUE(call.saysNothingOfAnError());
}

TEST(QrxCreateDrive, ASecondCallKnowsNothingOfTheFirst) {
  DriveCall call;
  call.world.completions = {{.result = 7, .errorMessage = "first"}, {}};
  EXPECT_EQ(call.run(), 7);
  EXPECT_EQ(call.run(), 0);
}

}  // namespace
}  // namespace zpk
