#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <set>

#include "helper/archive/SampleDisk.h"
#include "helper/service/CommandRights.h"
#include "helper/service/TestBus.h"
#include "helperlink/StatusRecord.h"
#include "records/ZPKDisk.h"
#include "support/DescribedInterfaces.h"

namespace zpk::test {

inline constexpr uid_t kUser = 65534;  // Whom every system knows: a bus refuses users that have no name.
inline const std::string kDenied = SD_BUS_ERROR_ACCESS_DENIED;
inline const std::string kNeedsPerson = SD_BUS_ERROR_INTERACTIVE_AUTHORIZATION_REQUIRED;

// Every file below `folder` with its content, but for the helper's log; of the large ones when they were changed.
inline std::map<std::string, std::string> contentOf(const TemporaryFolder& folder) {
  std::map<std::string, std::string> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder.path())) {
    const std::string path = entry.path().string();
    if (!entry.is_regular_file() || path.find("zpkhelper.log") != std::string::npos) continue;
    struct stat status = {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0);
    const std::string times = std::to_string(status.st_ctim.tv_sec) + "." + std::to_string(status.st_ctim.tv_nsec);
    files[path] =
        status.st_size > 1 << 16 ? times : folder.get(std::filesystem::relative(path, folder.path()).string());
  }
  return files;
}

// The helper as the system bus has it, and root as its caller.
struct World {
  void begin() {
    for (const char* name : {"disks", "state", "archives"}) std::filesystem::create_directory(folder.path(name));
    std::filesystem::copy_file(sample(), folder.path("disks/sample.img"));
    std::ofstream(folder.path("disks/blank.img"));
    std::filesystem::resize_file(folder.path("disks/blank.img"), std::uint64_t{80} << 20U);
    helper = tests::ChildProcess({ZPKHELPER, "--disks", folder.path("disks"), "--state", folder.path("state")},
                                 tests::ChildProcess::Output::dropped);
    ASSERT_TRUE(root.waitFor([&] { return root.helperIsThere(); })) << log();
    ASSERT_TRUE(waitUntilIdle());
  }

  // Made once: the helper does not change it.
  static const std::string& sample() {
    static const ScratchFolder scratch;
    static const SampleDisk disk(scratch, SampleDisk::Bare{});
    static const std::string path = disk.path();
    return path;
  }

  bool waitUntilIdle() {
    return root.waitFor([&] {
      return statuskey::state.read(root.status()) == HelperState::idle &&
             statuskey::disks.read(root.status()).size() == 2;
    });
  }
  // With a backup point, so that everything there is could be done.
  void makePoint() {
    const auto disks = statuskey::disks.read(root.status());
    const auto windows =
        std::find_if(disks.begin(), disks.end(), [](const auto& disk) { return disk->isBootCamp(); });
    ASSERT_NE(windows, disks.end());
    ASSERT_EQ(root.call(DaemonMember::setBackupSource, (*windows)->gptID()->stringValue().c_str()), "0");
    ASSERT_EQ(root.call(DaemonMember::setTargetPath, folder.path("archives/W.rldbackup").c_str()), "0");
    ASSERT_EQ(root.call(DaemonMember::backup), "0");
    ASSERT_TRUE(waitUntilIdle());
    ASSERT_EQ(statuskey::arcState.read(root.status()), ArcState::ready) << log();
  }
  std::string log() const { return folder.get("state/zpkhelper.log"); }

  TemporaryFolder folder;
  TestBus bus;
  TestFrontEnd root{bus};
  tests::ChildProcess helper;
};

// Calls of a user's in a world.
class Authorisation : public testing::Test {
 protected:
  explicit Authorisation(std::shared_ptr<World> in)
      : world(std::move(in)), folder(world->folder), bus(world->bus), root(world->root) {}

  void openUser() {
    user.emplace(bus.openAs(kUser));
    ASSERT_NE(user->bus(), nullptr);
  }
  std::shared_ptr<const ZPKDisk> blank() {
    for (const auto& disk : statuskey::disks.read(root.status())) {
      if (disk->isEmpty()) return disk;
    }
    return nullptr;
  }

  // A method as the description of the interfaces lists it.
  struct Method {
    std::string interface;
    DBusMember member;
  };

  // The call of a method with arguments that the helper would do something for.
  BusMessageHandle callOf(TestFrontEnd& caller, const Method& method) {
    const DBusMember& member = method.member;
    const std::string name = member.name;
    if (name == "restore_toDisk_withNumber_withTargetSize") {
      const auto disk = blank();
      return caller.newCall(member, std::uint64_t{0}, disk->gptID()->stringValue().c_str(),
                            std::uint64_t{disk->diskNumber()}, std::uint64_t{0});
    }
    if (name == "pin_arcItem_withLabel") return caller.newCall(member, 1, std::uint64_t{0}, "a label");
    if (name == "setBackupSource") return caller.newCall(member, blank()->gptID()->stringValue().c_str());
    if (name == "setTargetPath") return caller.newCall(member, folder.path("archives/Other.rldbackup").c_str());
    if (name == "collectLogsToPath") return caller.newCall(member, folder.path("none").c_str());
    if (name == "checkInWithPort_lastStateTime") {
      return caller.newCall(member, "/com/tarnwick/zpk/port/1", std::int64_t{0});
    }
    if (name == "setCheckFS") return caller.newCall(member, 0);
    if (std::string(member.in) == "t") return caller.newCall(member, std::uint64_t{1});
    EXPECT_STREQ(member.in, "") << name << " needs arguments here";
    return caller.newCallOf(method.interface.c_str(), member);
  }
  BusMessageHandle callOf(TestFrontEnd& caller, DaemonMember which) {
    return callOf(caller, {kDaemonInterface, member(which)});
  }
  // The error's name, or "answered".
  std::string ask(TestFrontEnd& caller, const Method& method) {
    const BusMessageHandle call = callOf(caller, method);
    sd_bus_error error{};
    sd_bus_message* made = nullptr;
    sd_bus_call(caller.bus(), call.get(), 0, &error, &made);
    const BusMessageHandle reply(made);
    std::string outcome = error.name ? error.name : "answered";
    text = error.message ? error.message : "";
    sd_bus_error_free(&error);
    return outcome;
  }
  std::string ask(TestFrontEnd& caller, DaemonMember which) {
    return ask(caller, {kDaemonInterface, member(which)});
  }
  std::string ask(TestFrontEnd& caller, MaintenanceMember which) {
    return ask(caller, {kMaintenanceInterface, member(which)});
  }
  // The methods that take leave, or those that do not.
  static std::vector<Method> described(bool takeLeave) {
    static const std::vector<tests::Described> all = tests::describedMembers(DBUS_DESCRIPTION);
    std::vector<Method> methods;
    for (const tests::Described& row : all) {
      if (row.interface == kDelegateInterface) continue;  // Served by front ends.
      const bool takes = rightFor(row.interface, row.member) != Right::everybody;
      if (takes != takeLeave) continue;
      methods.push_back({row.interface, {row.member.c_str(), row.in.c_str(), row.out.c_str()}});
    }
    return methods;
  }
  static std::vector<Method> guarded() { return described(true); }
  // Has the user call everything that takes leave, and nothing may come of it.
  void expectAllRefused(const std::string& error) {
    const auto before = contentOf(folder);
    const auto time = statuskey::stateTime.read(root.status());
    for (const Method& method : guarded()) {
      EXPECT_EQ(ask(*user, method), error) << method.member.name << ": " << text;
    }
    EXPECT_EQ(statuskey::stateTime.read(root.status()), time) << "nothing happened";
    EXPECT_TRUE(contentOf(folder) == before) << "no byte of settings, archive and disks has changed";
  }
  // Has somebody call everything there is, and get an answer.
  void expectAllAnswered(TestFrontEnd& caller) {
    for (const bool takeLeave : {false, true}) {
      for (const Method& method : described(takeLeave)) {
        EXPECT_EQ(ask(caller, method), "answered") << method.member.name << ": " << text;
        ASSERT_TRUE(root.waitFor([&] { return statuskey::state.read(root.status()) == HelperState::idle; }));
      }
    }
  }
  std::string log() const { return world->log(); }
  bool waitUntilIdle() { return world->waitUntilIdle(); }

  const std::shared_ptr<World> world;
  TemporaryFolder& folder;
  TestBus& bus;
  TestFrontEnd& root;
  std::optional<TestFrontEnd> user;
  std::string text;
};

}  // namespace zpk::test
