#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <limits>
#include <nlohmann/json.hpp>

#include "tools/zpkctl/Commands.h"
#include "tools/zpkctl/StatusReport.h"
#include "tools/zpkctl/Words.h"
#include "zpkctl/SessionWorld.h"

namespace zpk::ctl {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;

// 2023-11-14 22:13:20 UTC.
constexpr double kDate = 1'700'000'000;

std::string indexFile(std::uint32_t index) {
  return "/backups/Office PC.rldbackup/p" + std::to_string(index) + "/index.json";
}

std::shared_ptr<const RLDArchiveItem> point(std::uint32_t index, const std::string& label, bool isPinned = false) {
  return std::make_shared<const RLDArchiveItem>(RLDArchiveItem::Fields{.isPinned = isPinned,
                                                                       .arcIndex = index,
                                                                       .creationDate = Date{kDate + 60 * index},
                                                                       .disks = RecordList<RLDArcDisk>{},
                                                                       .indexFilePath = indexFile(index),
                                                                       .name = label});
}

Dictionary threePoints() {
  Dictionary status = readyStatus();
  statuskey::archiveDescription.set(
      status, archiveOf({point(0, "before the update", true), point(1, ""), point(2, "last")}));
  return status;
}

Value health(std::uint32_t index, std::optional<bool> damaged, std::uint64_t unreadableSectors = 0) {
  Dictionary told;
  told.set("indexFile", Value(indexFile(index)));
  if (damaged) {
    told.set("checked", Value(Date{kDate + 86400}));
    told.set("damaged", Value(*damaged));
  }
  told.set("unreadableSectors", Value(unreadableSectors));
  return Value(std::move(told));
}

// Not in the order of the points.
Dictionary threeFates() {
  Dictionary fates;
  fates.set("points", Value(Array{health(2, true), health(0, false, 12), health(1, std::nullopt)}));
  return fates;
}

struct ReportCommand : SessionWorld, testing::Test {
  FakeMaintenance maintenance;

  ReportCommand() {
    ::setenv("TZ", "UTC", 1);
    ::tzset();
    EXPECT_TRUE(connect());
  }
};

TEST_F(ReportCommand, StatusTellsWhatIsBackedUpWhere) {
  nowIs(threePoints());
  EXPECT_EQ(runStatus(session, console, Form::words), kDone);
  ASSERT_EQ(console.said.size(), 1U);
  EXPECT_THAT(console.said[0], HasSubstr("State:        ready\n"));
  EXPECT_THAT(console.said[0], HasSubstr("Destination:  /backups/Office PC.rldbackup (ready)\n"));
  EXPECT_THAT(console.said[0], HasSubstr("Last backup:  2023-11-14 22:15"));
  EXPECT_THAT(console.said[0], testing::Not(HasSubstr("Last error")));
}

TEST_F(ReportCommand, StatusKnowsACheckOfTheBackupPoints) {
  nowIs(runningVerification(42));
  EXPECT_EQ(runStatus(session, console, Form::words), kDone);
  EXPECT_THAT(console.said.at(0), HasSubstr("State:        checking backup points, 42 %"));
  EXPECT_EQ(runStatus(session, console, Form::json), kDone);
  EXPECT_EQ(json::parse(console.said.at(1))["operation"]["kind"], "verify");
  EXPECT_THAT(busyWords(runningVerification(42)), HasSubstr("being checked"));
}

TEST(StatusAsJson, AnOperationThatNobodyNamedIsUnknown) {
  for (const std::int32_t type : {4, -1}) {
    Dictionary status = runningVerification(1);
    status.set(statuskey::progressType.key, Value(type));
    EXPECT_EQ(json::parse(statusAsJson(status))["operation"]["kind"], "unknown") << type;
    EXPECT_THAT(statusInWords(status), HasSubstr("working, 1 %"));
  }
}

TEST_F(ReportCommand, StatusSaysThatAHelperDoesNotAnswer) {
  transport.helperDies();
  EXPECT_EQ(runStatus(session, console, Form::words), kNotDone);
  EXPECT_THAT(console.complained, ElementsAre("The backup helper does not answer."));
}

TEST_F(ReportCommand, ListWaitsForAHelperThatReadsItsDisks) {
  nowIs(busyStatus());
  soonIs(Seconds(2), threePoints());
  maintenance.health = threeFates();
  EXPECT_EQ(runList(session, maintenance, console, Form::words), kDone);
  EXPECT_THAT(console.said,
              ElementsAre("Date              Kind       Pinned  Last check                 Label\n"
                          "2023-11-14 22:13  full       yes     2023-11-15 22:13, sound    before the update\n"
                          "2023-11-14 22:14  increment  no      never\n"
                          "2023-11-14 22:15  increment  no      2023-11-15 22:13, damaged  last"));
  EXPECT_THAT(console.complained, testing::IsEmpty());
}

TEST_F(ReportCommand, AListWithoutNewsOfChecksIsAListAndSaysSo) {
  nowIs(threePoints());
  maintenance.health = std::string("Unknown method.");
  EXPECT_EQ(runList(session, maintenance, console, Form::words), kDone);
  EXPECT_THAT(console.said.at(0), HasSubstr("2023-11-14 22:14  increment  no      unknown\n"));
  EXPECT_EQ(runList(session, maintenance, console, Form::json), kDone);
  const json told = json::parse(console.said.at(1));
  EXPECT_EQ(told.size(), 3U);
  EXPECT_FALSE(told[0].contains("lastCheck")) << "no claim that it was never checked";
  EXPECT_THAT(console.complained.at(0), HasSubstr("is not known. Unknown method."));
}

TEST_F(ReportCommand, AnInterruptedListSaysSoAndShowsNothing) {
  nowIs(busyStatus());
  loop.performAfterDelay(Seconds(3), [this] { session.interrupt(); });
  EXPECT_EQ(runList(session, maintenance, console, Form::json), kNotDone);
  EXPECT_THAT(console.complained, ElementsAre("Interrupted."));
  EXPECT_TRUE(console.said.empty());
  EXPECT_LT(loop.now(), Seconds(5));
}

TEST_F(ReportCommand, AListWhoseHelperEndsMeanwhileIsNoEmptyOne) {
  nowIs(busyStatus());
  loop.performAfterDelay(Seconds(3), [this] { transport.helperDies(); });
  EXPECT_EQ(runList(session, maintenance, console, Form::words), kNotDone);
  EXPECT_THAT(console.complained, ElementsAre("The backup helper ended before the list was over."));
  EXPECT_TRUE(console.said.empty());
}

TEST_F(ReportCommand, AStatusThatIsInterruptedDoesNotBlameTheHelper) {
  helper().whenCalled("status", [this] {
    session.interrupt();
    throw LinkException("the link was closed");
  });
  EXPECT_EQ(runStatus(session, console, Form::json), kNotDone);
  EXPECT_THAT(console.complained, ElementsAre("Interrupted."));
}

TEST_F(ReportCommand, AListThatCannotBeReadIsNotAnEmptyOne) {
  Dictionary away = readyStatus();
  statuskey::arcState.set(away, ArcState::unavailable);
  nowIs(away);
  EXPECT_EQ(runList(session, maintenance, console, Form::json), kNotDone);
  EXPECT_THAT(console.complained, ElementsAre(HasSubstr("cannot be reached")));
  Dictionary notChosen = idleStatus({});
  nowIs(notChosen);
  EXPECT_EQ(runList(session, maintenance, console, Form::json), kNotDone);
  EXPECT_THAT(console.complained.back(), HasSubstr("No location"));
}

TEST_F(ReportCommand, AnArchiveWithoutPointsIsAnEmptyList) {
  Dictionary empty = readyStatus();
  statuskey::arcState.set(empty, ArcState::empty);
  statuskey::archiveDescription.set(empty, nullptr);
  nowIs(empty);
  EXPECT_EQ(runList(session, maintenance, console, Form::words), kDone);
  EXPECT_EQ(runList(session, maintenance, console, Form::json), kDone);
  EXPECT_THAT(console.said, ElementsAre("There is no backup point yet.", "[]"));
}

TEST(StatusAsJson, HasEveryKeyAlsoWhenNothingIsKnown) {
  EXPECT_EQ(json::parse(statusAsJson({})), json::parse(R"({"state": "idle", "operation": null, "source": null,
    "destination": null, "lastBackup": null, "lastBackupError": null})"));
}

TEST(StatusAsJson, TellsTheRunningOperation) {
  Dictionary status = runningBackup(41.5, 30);
  statuskey::remainingTime.set(status, 90);
  EXPECT_EQ(json::parse(statusAsJson(status))["operation"],
            json::parse(R"({"kind": "backup", "percent": 41.5, "elapsedSeconds": 30, "remainingSeconds": 90})"));
}

TEST(StatusAsJson, TellsSourceDestinationAndTheNewestPoint) {
  const json told = json::parse(statusAsJson(threePoints()));
  EXPECT_EQ(told["destination"], json::parse(R"({"path": "/backups/Office PC.rldbackup", "state": "ready"})"));
  EXPECT_EQ(told["source"]["isConnected"], true);
  EXPECT_EQ(told["lastBackup"], "2023-11-14T22:15:20Z");
}

TEST(StatusAsJson, ADiskThatIsAwayKeepsItsIdentifier) {
  Dictionary status = readyStatus();
  statuskey::disks.set(status, {});
  const json source = json::parse(statusAsJson(status))["source"];
  EXPECT_EQ(source["id"], *statuskey::sourceDisk.read(status));
  EXPECT_EQ(source["name"], nullptr);
  EXPECT_EQ(source["isConnected"], false);
}

TEST(StatusAsJson, TextThatIsNoTextAndDatesThatAreNoneDoNoHarm) {
  Dictionary status = readyStatus();
  statuskey::lastBackupError.set(status, "broken \xff text");
  for (const double date : {-1.0, 1e300, std::numeric_limits<double>::quiet_NaN()}) {
    statuskey::archiveDescription.set(status, archiveOf({backupPoint(0, "x", date)}));
    const json told = json::parse(statusAsJson(status));
    EXPECT_EQ(told["lastBackup"], nullptr);
    EXPECT_EQ(told["lastBackupError"], "broken \xef\xbf\xbd text");
    EXPECT_THAT(statusInWords(status), HasSubstr("Last backup:  unknown"));
  }
}

TEST(PointsAsJson, HasARowForEachPoint) {
  const json points = json::parse(pointsAsJson(threePoints(), threeFates()));
  EXPECT_EQ(points[1], json::parse(R"({"index": 1, "date": "2023-11-14T22:14:20Z", "kind": "increment",
    "pinned": false, "label": "", "lastCheck": null, "unreadableSectors": 0})"));
  EXPECT_EQ(points[0]["kind"], "full");
  EXPECT_EQ(points.size(), 3U);
}

TEST(PointsAsJson, TellsTheLastCheckAndWhatIsLacking) {
  const json points = json::parse(pointsAsJson(threePoints(), threeFates()));
  EXPECT_EQ(points[0]["lastCheck"], json::parse(R"({"date": "2023-11-15T22:13:20Z", "sound": true})"));
  EXPECT_EQ(points[0]["unreadableSectors"], 12);
  EXPECT_EQ(points[2]["lastCheck"]["sound"], false);
}

TEST(PointsAsJson, HealthThatIsNoneDoesNoHarm) {
  Dictionary nonsense;
  nonsense.set("points", Value(Array{Value(std::string("x")), Value(Dictionary())}));
  for (const Dictionary& told : {Dictionary(), nonsense}) {
    EXPECT_FALSE(json::parse(pointsAsJson(threePoints(), told))[0].contains("lastCheck"));
    EXPECT_THAT(pointsInWords(threePoints(), told), HasSubstr("yes     unknown "));
  }
}

TEST(ProgressWords, RoundDownAndTellTheTimeAsAPersonWould) {
  const auto words = [](double percent, std::optional<std::uint64_t> remaining) {
    Dictionary status = runningBackup(percent, 0);
    statuskey::remainingTime.set(status, 0);
    if (remaining) {
      statuskey::remainingTime.set(status, *remaining);
    } else {
      status.remove(statuskey::remainingTime.key);
    }
    return progressWords(status);
  };
  EXPECT_EQ(words(99.99, std::nullopt), "99 %");
  EXPECT_EQ(words(100, 0), "100 %, less than a minute left");
  EXPECT_EQ(words(5, 80), "5 %, about 1 minute left");
  EXPECT_EQ(words(5, 3000), "5 %, about 50 minutes left");
  EXPECT_EQ(words(5, 2 * 3600 + 300), "5 %, about 2 h 5 min left");
  EXPECT_EQ(words(-3, std::nullopt), "0 %");
  EXPECT_EQ(words(1e9, std::nullopt), "100 %");
  EXPECT_EQ(words(std::numeric_limits<double>::quiet_NaN(), std::nullopt), "0 %");
}

}  // namespace
}  // namespace zpk::ctl
