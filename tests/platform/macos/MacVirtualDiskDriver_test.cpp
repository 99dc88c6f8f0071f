#include "platform/macos/MacVirtualDiskDriver.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <span>

#include "mount/virtualdisk/QrxCreateDrive.h"
#include "platform/macos/MacWorld.h"
#include "support/TemporaryFolder.h"

namespace zpk {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr const char* kCountingId = "000102030405060708090A0B0C0D0E0F";

// The adapter on a Mac whose time passes when it is told to.
struct VirtualTimeDriver final : MacVirtualDiskDriver {
  explicit VirtualTimeDriver(MacWorld& owner) : world(owner) {}
  void sleep(std::chrono::microseconds duration) override { world.now += Seconds(duration).count(); }
  MacWorld& world;
};

// The client's calls through the adapter. Whatever a test does: in the end nothing is left over, and nothing was
// used or released that was not there.
class MacVirtualDisks : public testing::Test {
 protected:
  MacVirtualDisks() {
    world.extensionFolder = folder.path("Some Extensions/QrxMounter.kext");
    std::filesystem::create_directories(world.extensionFolder + "/Contents/Resources");
    folder.put("Some Extensions/QrxMounter.kext/Contents/Resources/qrx-helper",
               "#!/bin/sh\nprintf '%s|%s' \"$#\" \"$1\" > \"$0.was-run\"\n");
    ::chmod(helperPath().c_str(), 0755);
    errorText.fill('\0');
    setImagePath(request, "/b/disk0.pvhd");
  }
  ~MacVirtualDisks() override {
    waitForHelpers();
    EXPECT_THAT(world.leaks(), IsEmpty());
    EXPECT_THAT(world.misuses, IsEmpty());
  }

  std::string helperPath() const { return world.extensionFolder + "/Contents/Resources/qrx-helper"; }
  static void waitForHelpers() {
    while (::waitpid(-1, nullptr, 0) > 0) continue;
  }

  std::int32_t createDrive() {
    const QrxLogCallback note = [this](int level, const char* text) {
      (level == kQrxLevelResult ? devices : messages) += text;
    };
    return qrxCreateDrive(driver, request, note, &errorText, &result);
  }
  std::string why() const { return std::string(boundedText(errorText)); }
  // A disk with two partitions.
  static std::vector<MacEntry> media() {
    MacEntry disk{.className = "IOMedia", .texts = {{"BSD Name", "disk4"}}};
    auto scheme = disk.add({.className = "IOGUIDPartitionScheme"});
    scheme->add({.className = "IOMedia", .texts = {{"BSD Name", "disk4s1"}}});
    scheme->add({.className = "IOMedia", .texts = {{"BSD Name", "disk4s2"}}});
    return {disk};
  }

  TemporaryFolder folder;
  MacWorld world;
  VirtualTimeDriver driver{world};
  QrxDriveRequest request{};
  QrxErrorText errorText{};
  QrxDriveResult result{};
  std::string messages;
  std::string devices;
};

TEST_F(MacVirtualDisks, AnAttachNamesTheDriveAndItsMedia) {
  world.addDrive(kCountingId, media(), 1.35);
  world.completions = {{.words = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}}};
  EXPECT_EQ(createDrive(), 0);
  EXPECT_THAT(messages, HasSubstr("Connecting... OK.\nCreating new drive... OK.\nNew vd id: " +
                                  std::string(kCountingId) + "\nLaunched helper with pid = "));
  EXPECT_THAT(messages,
              HasSubstr("Running comand... Command callback(0x12345678)\nOK.\nClosing connection... OK.\n"));
  EXPECT_EQ(devices, "/dev/disk4\n/dev/disk4s1\n/dev/disk4s2\n");
  EXPECT_EQ(result.words.back(), 11U);
}

TEST_F(MacVirtualDisks, TheSystemIsAskedInTheOrderThatItNeeds) {
  world.addDrive(kCountingId, media());
  createDrive();
  EXPECT_THAT(world.journal, ElementsAre("open 0 type 0", "call", "run _qrxapi_run_loop_ for 60",
                                         "look for the device", "close", "destroy the port"));
}

TEST_F(MacVirtualDisks, TheControllerGetsOneAddressTheRequestAndRoomForTheId) {
  createDrive();
  ASSERT_EQ(world.calls.size(), 1U);
  const MacWorld::Call& call = world.calls.front();
  EXPECT_EQ(call.selector, 0U);
  EXPECT_TRUE(call.wakesAPort);
  EXPECT_EQ(call.reference.size(), 3U);
  EXPECT_EQ(call.reference.back(), 0x12345678U);
  EXPECT_EQ(call.inputCount, 1U);
  EXPECT_FALSE(call.wantsScalars);
  EXPECT_EQ(call.outputSize, 16U);
  ASSERT_EQ(call.request.size(), 1056U);
  std::uint32_t uid = 0;
  std::memcpy(&uid, call.request.data() + 16, sizeof uid);
  EXPECT_EQ(uid, ::getuid());
  EXPECT_STREQ(reinterpret_cast<const char*>(call.request.data() + 32), "/b/disk0.pvhd");
}

TEST_F(MacVirtualDisks, TheHelperOfTheExtensionIsStartedWithTheId) {
  EXPECT_EQ(createDrive(), 0);
  waitForHelpers();
  EXPECT_EQ(folder.get("Some Extensions/QrxMounter.kext/Contents/Resources/qrx-helper.was-run"),
            "1|" + std::string(kCountingId));
}

TEST_F(MacVirtualDisks, AnExtensionWithoutHelperStillMakesDrives) {
  world.resource.reset();
  EXPECT_EQ(createDrive(), 0);
  EXPECT_THAT(messages, HasSubstr("No path.\nlaunch res = -1\n"));
}

TEST_F(MacVirtualDisks, AHelperThatCannotBeStartedIsToldOnStandardError) {
  std::filesystem::remove(helperPath());
  testing::internal::CaptureStderr();
  EXPECT_EQ(createDrive(), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "spawn_error: No such file or directory\n");
  EXPECT_THAT(messages, HasSubstr("launch res = -1\n"));
}

// What is missing, and what the client says then.
struct Missing {
  const char* name;
  void (*take)(MacWorld& world);
  const char* message;
};

class MacWithout : public MacVirtualDisks, public testing::WithParamInterface<Missing> {};

TEST_P(MacWithout, NoDriveCanBeMade) {
  GetParam().take(world);
  EXPECT_EQ(createDrive(), 1);
  EXPECT_EQ(why(), "QRX API Error.");
  EXPECT_THAT(messages, testing::EndsWith(GetParam().message));
  EXPECT_THAT(world.calls, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    , MacWithout,
    testing::Values(Missing{"Extension", [](MacWorld& w) { w.installed = false; },
                            "Kext com.tarnwick.kext.QrxMounter not found.\n"},
                    Missing{"Bundle", [](MacWorld& w) { w.bundleOpens = false; }, "Can't get kext bundle.\n"},
                    Missing{"MatchingDictionary",
                            [](MacWorld& w) { w.noMatchingFor = "com_tarnwick_qrx_controller"; },
                            "No matching dict.\n"},
                    Missing{"ServiceList", [](MacWorld& w) { w.servicesCode = kIOReturnError; },
                            "Can't get matching services.\n"},
                    Missing{"Controller", [](MacWorld& w) { w.openCodes.clear(); }, "No service found.\n"},
                    Missing{"WillingController", [](MacWorld& w) { w.openCodes = {kIOReturnNotPrivileged}; },
                            "Connection error: 0xe00002c1 (iokit/common) not permitted\nNo service found.\n"}),
    [](const auto& instance) { return std::string(instance.param.name); });

TEST_F(MacVirtualDisks, TheNextControllerIsTriedWhenOneRefuses) {
  world.openCodes = {kIOReturnNotPrivileged, 0, 0};
  EXPECT_EQ(createDrive(), 0);
  EXPECT_THAT(messages, HasSubstr("Connecting... Connection error: 0xe00002c1 (iokit/common) not permitted\n"
                                  "Connecting... OK.\n"));
  EXPECT_EQ(std::count(world.journal.begin(), world.journal.end(), "open 2 type 0"), 0);
}

TEST_F(MacVirtualDisks, ARefusedCallIsAnsweredWithTheSystemsCode) {
  world.callCode = kIOReturnNotPrivileged;
  EXPECT_EQ(createDrive(), kIOReturnNotPrivileged);
  EXPECT_EQ(why(), "QRX API Error.");
  EXPECT_THAT(messages, HasSubstr("Call method error: 0xe00002c1 (iokit/common) not permitted\n"));
}

TEST_F(MacVirtualDisks, TheControllersOwnErrorIsPassedOn) {
  world.completions = {{.result = 22, .errorMessage = "The image is damaged."}};
  EXPECT_EQ(createDrive(), 22);
  EXPECT_EQ(why(), "The image is damaged.");
}

TEST_F(MacVirtualDisks, AControllerThatNeverCompletesIsGivenUpAfterAMinute) {
  world.completions.clear();
  EXPECT_EQ(createDrive(), 0);
  EXPECT_THAT(messages, Not(HasSubstr("Command callback")));
  // The device is looked for ten pauses long.
  EXPECT_DOUBLE_EQ(world.now, 61);
}

TEST_F(MacVirtualDisks, ALateNoticeIsNeitherTakenForTheNextCallsNorWrittenAnywhere) {
  world.completions = {{.after = 70, .result = 22, .errorMessage = "late"}, {.after = 20}};
  EXPECT_EQ(createDrive(), 0);
  EXPECT_EQ(createDrive(), 0);
  EXPECT_DOUBLE_EQ(world.now, 61 + 20 + 1);
}

TEST_F(MacVirtualDisks, WithoutANotificationPortNothingIsAskedOfTheController) {
  world.makesPorts = false;
  EXPECT_EQ(createDrive(), kIOReturnNoResources);
  EXPECT_THAT(world.calls, IsEmpty());
}

TEST_F(MacVirtualDisks, AFailingCloseIsSaidAndTheConnectionIsGone) {
  world.closeCode = kIOReturnError;
  EXPECT_EQ(createDrive(), 0);
  EXPECT_THAT(messages, HasSubstr("Closing connection... Close error: 0xe00002bc unknown error code\n"));
  EXPECT_EQ(std::count(world.journal.begin(), world.journal.end(), "close"), 1);
}

TEST_F(MacVirtualDisks, AMediumThatIsNamedLateIsReported) {
  world.addDrive(kCountingId, {{.className = "IOMedia", .texts = {{"BSD Name", "disk7"}}, .textsFrom = 1.25}});
  EXPECT_EQ(createDrive(), 0);
  EXPECT_EQ(devices, "/dev/disk7\n");
}

TEST_F(MacVirtualDisks, APropertyThatIsNoTextNamesNothing) {
  MacEntry medium{.className = "IOMedia", .otherProperties = {{"BSD Name", "4"}}};
  world.addDrive(kCountingId, {medium});
  EXPECT_EQ(createDrive(), 0);
  EXPECT_EQ(devices, "");
}

TEST_F(MacVirtualDisks, ARegistryThatChangesMeanwhileIsReadAgain) {
  world.addDrive(kCountingId, media());
  world.brokenIterations = 4;
  EXPECT_EQ(createDrive(), 0);
  EXPECT_EQ(world.brokenIterations, 0);
  EXPECT_EQ(devices, "/dev/disk4\n/dev/disk4s1\n/dev/disk4s2\n");
}

TEST_F(MacVirtualDisks, ARegistryThatNeverHoldsStillIsReadAsFarAsItGoes) {
  world.addDrive(kCountingId, media());
  world.brokenIterations = 1'000'000;
  EXPECT_EQ(createDrive(), 0);
  EXPECT_EQ(devices, "/dev/disk4\n/dev/disk4s1\n");
}

TEST_F(MacVirtualDisks, ATextThatIsNotUTF8NamesNothing) {
  EXPECT_EQ(driver.urlForBundleIdentifier("\xFF"), std::nullopt);
  EXPECT_EQ(driver.openBundle("file:///\xFF"), nullptr);
  EXPECT_EQ(driver.openBundle("no URL"), nullptr);
}

TEST_F(MacVirtualDisks, ANoticeAfterTheConnectionsEndIsHeardByNobody) {
  const auto port = driver.createNotificationPort();
  port->addToCurrentRunLoop("private");
  const auto services = driver.matchingServices({"com_tarnwick_qrx_controller"});
  ASSERT_TRUE(services);
  auto connection = driver.openService(*services->front(), 0);
  ASSERT_TRUE(connection);
  int heard = 0;
  QrxDriveReply reply{};
  const std::array address{static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(&reply))};
  QrxDriveId id{};
  EXPECT_EQ((*connection)
                ->callAsyncMethod({.selector = 0,
                                   .wakePort = *port,
                                   .reference = {[&](std::uint64_t, DriverCode) { ++heard; }, 1},
                                   .scalarInput = address,
                                   .inputStructure = std::as_bytes(std::span(&request, 1)),
                                   .outputStructure = id}),
            0);
  EXPECT_EQ((*connection)->close(), 0);
  driver.runRunLoopInMode("private", Seconds(10));
  EXPECT_EQ(world.deliveries, 1);
  EXPECT_EQ(heard, 0);
}

// Each object in turn cannot be made, as it is when memory is short. Some of the calls fail and some do not; none
// crashes, and the fixture counts what is left over.
TEST_F(MacVirtualDisks, WhateverCannotBeMadeTheRestIsGivenBack) {
  world.addDrive(kCountingId, media());
  createDrive();
  const int all = world.creations;
  ASSERT_GT(all, 20);
  int failed = 0;
  for (int creation = 0; creation < all; ++creation) {
    world.creations = 0;
    world.failingCreation = creation;
    world.calls.clear();
    if (createDrive() != 0) ++failed;
    EXPECT_THAT(world.leaks(), IsEmpty()) << creation;
  }
  EXPECT_GT(failed, 5);
}

}  // namespace
}  // namespace zpk
