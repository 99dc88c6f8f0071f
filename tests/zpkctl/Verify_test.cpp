#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tools/zpkctl/Commands.h"
#include "tools/zpkctl/VerificationReport.h"
#include "zpkctl/SessionWorld.h"

namespace zpk::ctl {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

Value pointWith(Array damage, std::uint64_t index = 0) {
  Dictionary point;
  point.set("index", Value(index));
  point.set("date", Value(Date{1'700'000'000}));
  point.set("checked", Value(Date{1'700'000'100}));
  point.set("bytes", Value(std::uint64_t{2'000'000'000}));
  point.set("damage", Value(std::move(damage)));
  return Value(std::move(point));
}

Value damage() {
  Dictionary range;
  range.set("file", Value(std::string("/a/p/disk0.pvhd")));
  range.set("start", Value(std::uint64_t{65536}));
  range.set("end", Value(std::uint64_t{131072}));
  return Value(std::move(range));
}

Dictionary reportOf(Array points, bool complete = true) {
  Dictionary report;
  report.set("complete", Value(complete));
  report.set("points", Value(std::move(points)));
  return report;
}

TEST(VerificationReport, ASoundArchiveIsSound) {
  const Dictionary report = reportOf({pointWith({})});
  EXPECT_TRUE(isSound(report));
  EXPECT_THAT(verificationInWords(report), HasSubstr("sound, 2 GB read\nEvery backup point is sound."));
}

TEST(VerificationReport, DamageIsToldByPointFileAndRange) {
  const Dictionary report = reportOf({pointWith({}), pointWith({damage()}, 1)});
  EXPECT_FALSE(isSound(report));
  EXPECT_THAT(verificationInWords(report),
              HasSubstr("damaged\n   /a/p/disk0.pvhd: bytes 65536 to 131071 of the disk"));
  const auto json = nlohmann::json::parse(verificationAsJson(report));
  EXPECT_FALSE(json["sound"]);
  EXPECT_EQ(json["points"][1]["index"], 1);
  EXPECT_EQ(json["points"][1]["checked"], "2023-11-14T22:15:00Z");
  EXPECT_EQ(json["points"][1]["damage"][0]["start"], 65536);
  EXPECT_TRUE(json["points"][0]["sound"]);
}

TEST(VerificationReport, WhatCouldNotBeNotedIsSoundAllTheSame) {
  Dictionary point = *pointWith({}).dictionary();
  point.set("unnoted", Value(std::string("The archive could not be locked")));
  const Dictionary report = reportOf({Value(std::move(point))});
  EXPECT_TRUE(isSound(report));
  EXPECT_THAT(verificationInWords(report),
              HasSubstr("read\n   not noted in the archive: The archive could not be locked\nEvery"));
  EXPECT_EQ(nlohmann::json::parse(verificationAsJson(report))["points"][0]["unnoted"],
            "The archive could not be locked");
}

Value unreadable(std::uint64_t start, std::uint64_t end) {
  Dictionary stretch;
  stretch.set("disk", Value(std::string("Disk 1")));
  stretch.set("start", Value(start));
  stretch.set("end", Value(end));
  return Value(std::move(stretch));
}

TEST(VerificationReport, WhatWasUnreadableWhenAPointWasMadeIsListedAndNoDamage) {
  Dictionary lacking = *pointWith({}).dictionary();
  lacking.set("unreadableSectors", Value(std::uint64_t{12}));
  lacking.set("unreadable", Value(Array{unreadable(512, 1536), unreadable(4096, 4608)}));
  lacking.set("moreUnreadable", Value(std::uint64_t{1}));
  const Dictionary report = reportOf({pointWith({}), Value(lacking)});
  EXPECT_TRUE(isSound(report));
  EXPECT_THAT(verificationInWords(report), HasSubstr("sound, 2 GB read\n"
                                                     "   made with 12 unreadable sectors, which are zeros in it:\n"
                                                     "   bytes 512 to 1535 of \"Disk 1\"\n"
                                                     "   bytes 4096 to 4607 of \"Disk 1\"\n"
                                                     "   and 1 more range\n"
                                                     "Every backup point is sound."));
  const auto points = nlohmann::json::parse(verificationAsJson(report))["points"];
  EXPECT_EQ(points[0]["unreadableSectors"], 0);
  EXPECT_EQ(points[0]["unreadable"], nlohmann::json::array());
  EXPECT_EQ(points[1]["unreadableSectors"], 12);
  EXPECT_EQ(points[1]["unreadable"][1], nlohmann::json::parse(R"({"disk": "Disk 1", "start": 4096, "end": 4608})"));
  EXPECT_EQ(points[1]["moreUnreadable"], 1);
}

TEST(VerificationReport, ADamagedPointLacksWhatItLacks) {
  Dictionary lacking = *pointWith({damage()}).dictionary();
  lacking.set("unreadableSectors", Value(std::uint64_t{1}));
  lacking.set("unreadable", Value(Array{unreadable(512, 1024), Value(std::string("no stretch"))}));
  const std::string said = verificationInWords(reportOf({Value(lacking)}));
  EXPECT_THAT(said, HasSubstr("damaged\n   /a/p/disk0.pvhd"));
  EXPECT_THAT(said, HasSubstr("of the disk\n   made with 1 unreadable sector, which is zeros in it:\n"
                              "   bytes 512 to 1023 of \"Disk 1\""));
}

TEST(VerificationReport, APointThatBuildsOnADamagedOneIsNotSound) {
  Dictionary point = *pointWith({}).dictionary();
  point.set("damagedBase", Value(std::uint64_t{2}));
  const Dictionary report = reportOf({Value(std::move(point))});
  EXPECT_FALSE(isSound(report));
  EXPECT_THAT(verificationInWords(report), HasSubstr("takes content from backup point 3, which is damaged"));
  const auto json = nlohmann::json::parse(verificationAsJson(report));
  EXPECT_FALSE(json["points"][0]["sound"]);
  EXPECT_EQ(json["points"][0]["damagedBase"], 2);
}

TEST(VerificationReport, WhatWasNotCheckedToTheEndIsNotSound) {
  EXPECT_FALSE(isSound(reportOf({pointWith({})}, false)));
  EXPECT_FALSE(isSound(Dictionary()));
  EXPECT_FALSE(isSound(reportOf({Value(std::string("no point"))}, false)));
}

struct VerifyWorld : SessionWorld {
  int run(Form form = Form::words) {
    EXPECT_TRUE(connect());
    return runVerify(session, maintenance, console, form);
  }
  FakeMaintenance maintenance;
};

TEST(Verify, WaitsForTheEndAndTellsWhatWasFound) {
  VerifyWorld world;
  world.maintenance.report = reportOf({pointWith({damage()})});
  EXPECT_TRUE(world.connect());
  world.nowIs(runningBackup(40, 5));
  world.soonIs(Seconds(1), readyStatus());
  EXPECT_EQ(runVerify(world.session, world.maintenance, world.console, Form::words), kNotDone);
  ASSERT_FALSE(world.console.progress.empty());
  EXPECT_THAT(world.console.progress.back(), HasSubstr("Checking: 40 %"));
  ASSERT_EQ(world.console.said.size(), 1U);
  EXPECT_THAT(world.console.said[0], HasSubstr("There is damage"));
}

TEST(Verify, OfASoundArchiveSucceeds) {
  VerifyWorld world;
  world.maintenance.report = reportOf({pointWith({})});
  EXPECT_EQ(world.run(Form::json), kDone);
}

TEST(Verify, ThatIsRefusedSaysWhy) {
  VerifyWorld world;
  world.maintenance.answer = std::string("You are not allowed to check the backups.");
  EXPECT_EQ(world.run(), kNotDone);
  EXPECT_THAT(world.console.complained, ElementsAre("You are not allowed to check the backups."));
  EXPECT_THAT(world.console.said, IsEmpty());
}

TEST(Verify, WithoutAnArchiveSaysWhatToDo) {
  VerifyWorld world;
  world.maintenance.answer = std::uint32_t{4};
  EXPECT_EQ(world.run(), kNotDone);
  EXPECT_THAT(world.console.complained.at(0), HasSubstr("Archive path not set"));
}

}  // namespace
}  // namespace zpk::ctl
