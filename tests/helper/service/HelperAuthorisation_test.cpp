// The real helper as the system bus has it, with polkit played by the test: who may do what. Needs root, for
// callers that are other users.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <future>
#include <map>
#include <optional>
#include <set>

#include "helper/service/AuthorisationWorld.h"
#include "helper/service/ScriptedPolkit.h"
#include "helper/service/TestBus.h"
#include "helperlink/ResultCode.h"
#include "helperlink/StatusRecord.h"
#include "records/ZPKDisk.h"
#include "support/DescribedInterfaces.h"

namespace zpk::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using tests::Described;
using Way = ScriptedPolkit::Way;
namespace fs = std::filesystem;

// With a helper of the case's own.
class HelperAuthorisation : public Authorisation {
 protected:
  HelperAuthorisation() : Authorisation(std::make_shared<World>()) {}
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "needs root";
    ASSERT_NO_FATAL_FAILURE(world->begin());
    openUser();
  }
  void makePoint() { world->makePoint(); }
};

// With a helper, and a backup point, that serve all cases: what is refused changes nothing, and what is not is put
// into numbers of what was before.
class LeaveForCommands : public Authorisation {
 protected:
  LeaveForCommands() : Authorisation(shared) {}
  static void SetUpTestSuite() {
    shared = std::make_shared<World>();
    if (geteuid() != 0) return;
    shared->begin();
    if (!HasFatalFailure()) shared->makePoint();
  }
  static void TearDownTestSuite() { shared.reset(); }
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "needs root";
    ASSERT_TRUE(waitUntilIdle()) << log();
    openUser();
  }
  std::uint64_t limit() { return statuskey::maxIncCount.read(root.status()); }

 private:
  static inline std::shared_ptr<World> shared;
};

TEST(CommandRights, AreGivenForEveryCommandThatIsDescribedAndForNoOther) {
  std::set<std::pair<std::string, std::string>> described;
  for (const Described& row : tests::describedMembers(DBUS_DESCRIPTION)) {
    if (row.interface == kDelegateInterface) continue;  // Served by front ends.
    EXPECT_TRUE(rightFor(row.interface, row.member)) << row.member << " is refused to everybody";
    described.emplace(row.interface, row.member);
  }
  EXPECT_EQ(described.size(), kCommandRights.size());
  EXPECT_FALSE(rightFor(kDaemonInterface, "aNewCommand"));
  EXPECT_FALSE(rightFor("another.Interface", "status"));
}

TEST(CommandRights, NameTheActionsOfThePolicyAndNoOthers) {
  std::ifstream file(POLKIT_POLICY);
  const std::string policy{std::istreambuf_iterator<char>(file), {}};
  std::size_t actions = 0;
  for (std::size_t at = 0; (at = policy.find("<action id=", at)) != std::string::npos; ++at) ++actions;
  EXPECT_EQ(actions, kRights.size() - 1);
  std::size_t place = 0;
  for (const RightRow& row : kRights) {
    EXPECT_EQ(static_cast<std::size_t>(row.right), place++) << "the rows are in the order of the rights";
    if (row.right == Right::everybody) continue;
    EXPECT_THAT(policy, HasSubstr("<action id=\"" + std::string(row.action) + "\">"));
  }
}

TEST_F(HelperAuthorisation, RootMayDoEverythingWithoutPolkit) {
  makePoint();
  expectAllAnswered(root);
}

TEST_F(LeaveForCommands, WithoutPolkitAUserMayOnlyLook) {
  expectAllRefused(kDenied);
  EXPECT_THAT(text, HasSubstr("polkit"));
  for (const Method& method : described(false)) {
    EXPECT_EQ(ask(*user, method), "answered") << method.member.name << ": " << text;
  }
}

TEST_F(LeaveForCommands, WhomPolkitRefusesDoesNothing) {
  ScriptedPolkit polkit(bus, Way::refuses);
  expectAllRefused(kDenied);
  std::set<std::string> asked;
  for (const auto& question : polkit.questions()) {
    asked.insert(question.action);
    const char* name = nullptr;
    sd_bus_get_unique_name(user->bus(), &name);
    EXPECT_EQ(question.peer, name);
    EXPECT_EQ(question.flags, 1U);
  }
  std::set<std::string> wanted;
  for (const Method& method : guarded()) {
    wanted.insert(rowOf(*rightFor(method.interface, method.member.name)).action);
  }
  EXPECT_EQ(asked, wanted);
}

TEST_F(LeaveForCommands, NobodyIsAskedForAPasswordForACallerThatDoesNotWantThat) {
  ScriptedPolkit polkit(bus, Way::asks);
  user->mayAsk = false;
  expectAllRefused(kNeedsPerson);
}

TEST_F(LeaveForCommands, AnAnswerThatIsNoneIsNoLeave) {
  ScriptedPolkit polkit(bus, Way::saysOtherTypes);
  expectAllRefused(kDenied);
  polkit.setWay(Way::fails);
  expectAllRefused(kDenied);
  EXPECT_THAT(log(), HasSubstr("Action is not registered"));
}

TEST_F(LeaveForCommands, APolkitThatDiesOverTheQuestionGivesNoLeave) {
  for (const Method& method : guarded()) {
    ScriptedPolkit polkit(bus, Way::dies);
    EXPECT_EQ(ask(*user, method), kDenied) << method.member.name;
    EXPECT_EQ(polkit.questions().size(), 1U) << method.member.name;
  }
}

TEST_F(HelperAuthorisation, WhomPolkitLetsMayDoEverything) {
  ScriptedPolkit polkit(bus, Way::grants);
  EXPECT_EQ(user->call(DaemonMember::backup), "3") << "what is wrong with a command is told as to anybody";
  makePoint();
  expectAllAnswered(*user);
  std::set<std::string> asked;
  for (const auto& question : polkit.questions()) asked.insert(question.action);
  EXPECT_EQ(asked.size(), kRights.size() - 1) << "each was asked for";
  EXPECT_EQ(user->call(DaemonMember::setMaxIncrementsCount, std::uint64_t{3}), "0");
  EXPECT_EQ(statuskey::maxIncCount.read(root.status()), 3U);
}

TEST_F(LeaveForCommands, TheHelperServesOthersWhileSomebodyTypesAPassword) {
  ScriptedPolkit polkit(bus, Way::hangs);
  const std::uint64_t wanted = limit() + 1;
  ASSERT_EQ(user->checkIn(0), "0");
  const BusMessageHandle call = user->newCall(member(DaemonMember::setMaxIncrementsCount), wanted);
  std::string outcome;
  sd_bus_call_async(
      user->bus(), nullptr, call.get(),
      [](sd_bus_message* reply, void* data, sd_bus_error*) {
        *static_cast<std::string*>(data) = sd_bus_message_is_method_error(reply, nullptr) ? "refused" : "done";
        return 0;
      },
      &outcome, 0);
  ASSERT_TRUE(user->waitFor([&] { return !polkit.questions().empty(); }));
  EXPECT_EQ(root.call(DaemonMember::setCheckFS, 0), "0");
  const int reminders = user->needReloadCalls;
  ASSERT_TRUE(user->waitFor([&] { return user->needReloadCalls > reminders; }))
      << "it hears that it is not forgotten";
  EXPECT_EQ(outcome, "");
  polkit.grantAfterAll();
  ASSERT_TRUE(user->waitFor([&] { return !outcome.empty(); }));
  EXPECT_EQ(outcome, "done");
  EXPECT_EQ(limit(), wanted);
}

TEST_F(LeaveForCommands, ACallerThatGoesTakesItsQuestionBack) {
  ScriptedPolkit polkit(bus, Way::hangs);
  const std::uint64_t before = limit();
  const BusMessageHandle call = user->newCall(member(DaemonMember::setMaxIncrementsCount), before + 1);
  ASSERT_GE(sd_bus_send(user->bus(), call.get(), nullptr), 0);
  ASSERT_TRUE(user->waitFor([&] { return !polkit.questions().empty(); }));
  user.reset();
  ASSERT_TRUE(root.waitFor([&] { return !polkit.cancelled().empty(); }));
  EXPECT_THAT(polkit.cancelled(), ElementsAre(polkit.questions().at(0).cancellation));
  polkit.grantAfterAll();
  EXPECT_EQ(root.call(DaemonMember::setCheckFS, 0), "0");
  EXPECT_EQ(limit(), before);
}

TEST_F(LeaveForCommands, TheOneWhoIsRefusedHearsWhyAndNobodyElseDoes) {
  ScriptedPolkit polkit(bus, Way::refuses);
  TestFrontEnd another(bus);
  const bool checks = statuskey::checkFS.read(root.status());
  ASSERT_EQ(user->checkIn(0), "0");
  ASSERT_EQ(another.checkIn(0), "0");
  ASSERT_TRUE(another.waitFor([&] { return !another.states.empty(); }));
  EXPECT_EQ(user->call(DaemonMember::setCheckFS, checks ? 0 : 1), kDenied);
  ASSERT_TRUE(user->waitForState([](const auto& status) { return statuskey::opError.isPresentIn(status); }));
  EXPECT_THAT(*statuskey::opError.read(user->states.back()),
              HasSubstr("not allowed to change the backup settings"));
  EXPECT_EQ(statuskey::checkFS.read(user->states.back()), checks);
  ASSERT_TRUE(user->waitForState([](const auto& status) { return !statuskey::opError.isPresentIn(status); }))
      << "what it knows in the end is the state";
  EXPECT_EQ(root.call(DaemonMember::setCheckFS, checks ? 0 : 1), "0");
  ASSERT_TRUE(another.waitFor([&] { return another.states.size() > 1; }));
  for (const Dictionary& state : another.states) EXPECT_FALSE(statuskey::opError.isPresentIn(state));
  EXPECT_THAT(log(), HasSubstr("Refused: setCheckFS of user " + std::to_string(kUser)));
}

TEST_F(LeaveForCommands, OfARestoreTheDiskIsNamed) {
  ScriptedPolkit polkit(bus, Way::refuses);
  EXPECT_EQ(ask(*user, DaemonMember::restore), kDenied);
  ASSERT_EQ(polkit.questions().size(), 1U);
  auto details = polkit.questions()[0].details;
  EXPECT_EQ(details["disk"], "blank (84 MB, " + folder.path("disks/blank.img") + ")");
  EXPECT_EQ(details["model"], "blank");
  EXPECT_EQ(details["size"], std::to_string(80U << 20U));
  EXPECT_EQ(details["path"], folder.path("disks/blank.img"));
}

// Leave is for the disk that was shown. Meanwhile another one has come to its place, with its number and
// identifier.
TEST_F(HelperAuthorisation, LeaveToOverwriteADiskIsNoLeaveToOverwriteAnother) {
  makePoint();
  ScriptedPolkit polkit(bus, Way::hangs);
  const std::uint64_t other = std::uint64_t{96} << 20U;
  const BusMessageHandle call = callOf(*user, DaemonMember::restore);
  std::optional<std::uint32_t> code;
  sd_bus_call_async(
      user->bus(), nullptr, call.get(),
      [](sd_bus_message* reply, void* data, sd_bus_error*) {
        std::uint32_t got = 99;
        sd_bus_message_read(reply, "u", &got);
        *static_cast<std::optional<std::uint32_t>*>(data) = got;
        return 0;
      },
      &code, 0);
  ASSERT_TRUE(user->waitFor([&] { return !polkit.questions().empty(); }));
  fs::resize_file(folder.path("disks/blank.img"), other);
  EXPECT_EQ(root.call(DaemonMember::reload), "0");
  ASSERT_TRUE(root.waitFor([&] { return blank() && blank()->diskSize() == other; }));
  polkit.grantAfterAll();
  ASSERT_TRUE(user->waitFor([&] { return code.has_value(); }));
  EXPECT_EQ(*code, static_cast<std::uint32_t>(ResultCode::badTargetDisk));
  struct stat disk = {};
  ASSERT_EQ(::stat(folder.path("disks/blank.img").c_str(), &disk), 0);
  EXPECT_EQ(disk.st_blocks, 0) << "not a byte was written";
}

TEST_F(HelperAuthorisation, NobodyIsAskedForAPasswordForWhatCannotBeDone) {
  ScriptedPolkit polkit(bus, Way::grants);
  EXPECT_EQ(ask(*user, DaemonMember::restore), "answered");
  EXPECT_THAT(polkit.questions(), IsEmpty()) << "there is no archive to restore from";
}

// A user who may change the settings is still not root: what he names leads the helper nowhere that he cannot go.
TEST_F(HelperAuthorisation, APathTakesTheHelperNoFurtherThanItsUser) {
  makePoint();
  ScriptedPolkit polkit(bus, Way::grants);
  fs::permissions(folder.path(), fs::perms(0755));
  for (const char* name : {"theirs", "theirs/full.rldbackup"}) {
    fs::create_directory(folder.path(name));
    ASSERT_EQ(chown(folder.path(name).c_str(), kUser, kUser), 0);
  }
  folder.put("theirs/full.rldbackup/file", "x");
  fs::create_directory_symlink(folder.path("archives"), folder.path("theirs/link"));
  fs::create_directory_symlink(folder.path("archives/W.rldbackup"), folder.path("theirs/W.rldbackup"));
  ASSERT_EQ(mkfifo(folder.path("theirs/pipe.rldbackup").c_str(), 0666), 0);
  for (const char* name : {"archives", "state"}) fs::permissions(folder.path(name), fs::perms(0700));
  const auto before = contentOf(folder);
  const std::string none = std::to_string(static_cast<std::uint32_t>(ResultCode::noArchiveTargetDirectory));
  for (const std::string& path :
       {folder.path("archives/W.rldbackup"), folder.path("theirs/link/W.rldbackup"),
        folder.path("state/x.rldbackup"), std::string("/root/x.rldbackup"),
        std::string("/proc/self/root/x.rldbackup"), std::string("/proc/self/fd/3/x.rldbackup"),
        "/" + std::string(5000, 'a') + ".rldbackup", folder.path("theirs/../archives/W.rldbackup"),
        std::string("relative.rldbackup")}) {
    EXPECT_EQ(user->call(DaemonMember::setTargetPath, path.c_str()), none) << path;
  }
  EXPECT_TRUE(contentOf(folder) == before);
  // These can be named, and then nothing can be done with them.
  for (const char* name : {"theirs/W.rldbackup", "theirs/pipe.rldbackup", "theirs/full.rldbackup"}) {
    EXPECT_EQ(user->call(DaemonMember::setTargetPath, folder.path(name).c_str()), "0") << name;
    EXPECT_FALSE(statuskey::archiveDescription.isPresentIn(root.status())) << name;
    EXPECT_EQ(user->call(DaemonMember::backup), "0");
    ASSERT_TRUE(waitUntilIdle());
    EXPECT_TRUE(statuskey::lastBackupError.isPresentIn(root.status())) << name;
  }
  EXPECT_EQ(folder.get("theirs/full.rldbackup/file"), "x");
  // And in a folder of the user's own, all is the user's.
  ASSERT_EQ(user->call(DaemonMember::setTargetPath, folder.path("theirs/good.rldbackup").c_str()), "0");
  ASSERT_EQ(root.call(DaemonMember::backup), "0");
  ASSERT_TRUE(waitUntilIdle());
  ASSERT_EQ(statuskey::arcState.read(root.status()), ArcState::ready) << log();
  for (const auto& entry : fs::recursive_directory_iterator(folder.path("theirs/good.rldbackup"))) {
    struct stat status = {};
    ASSERT_EQ(::lstat(entry.path().c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, kUser) << entry.path();
  }
}

TEST_F(LeaveForCommands, ACheckOfTheBackupsTakesLeaveAndItsFindingsDoNot) {
  {
    const ScriptedPolkit polkit(bus, Way::refuses);
    EXPECT_EQ(ask(*user, MaintenanceMember::verify), kDenied);
    EXPECT_EQ(polkit.questions().at(0).action, rowOf(Right::verify).action);
  }
  EXPECT_EQ(ask(*user, MaintenanceMember::verify), kDenied) << "without polkit";
  EXPECT_EQ(ask(*user, MaintenanceMember::lastVerification), "answered");
  EXPECT_THAT(log(), testing::Not(HasSubstr("Check begins")));
  EXPECT_EQ(ask(root, MaintenanceMember::verify), "answered");
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_THAT(log(), HasSubstr("is sound"));
}

}  // namespace
}  // namespace zpk::test
