#include "tools/launchctl/SystemdUnits.h"

#include <gtest/gtest.h>

namespace zpk {
namespace {

JobDefinition daily() {
  JobDefinition job;
  job.label = "a.b";
  job.programArguments = {"/usr/bin/zpkctl", "backup"};
  job.calendar = {{0, 12, std::nullopt, std::nullopt, std::nullopt}};
  return job;
}

JobDefinition agent() {
  JobDefinition job;
  job.label = "a.agent";
  job.programArguments = {"/bin/agent"};
  job.runAtLoad = true;
  return job;
}

TEST(SystemdUnits, AJobWithTimesIsAServiceAndItsTimer) {
  const std::vector<UnitFile> expected = {
      {"a.b.service",
       "# Made by launchctl from \"/p\"; what is changed here is lost.\n"
       "[Unit]\nDescription=a.b\n\n"
       "[Service]\nType=simple\nExecStart=\":/usr/bin/zpkctl\" \"backup\"\nTimeoutStopSec=10\n"
       "KillMode=process\nSuccessExitStatus=143\n",
       false, false},
      {"a.b.timer",
       "# Made by launchctl from \"/p\"; what is changed here is lost.\n"
       "[Unit]\nDescription=Times of a.b\n\n"
       "[Timer]\nOnCalendar=*-*-* 12:00:00\nPersistent=true\nAccuracySec=1s\n\n"
       "[Install]\nWantedBy=timers.target\n",
       true, true}};
  EXPECT_EQ(systemdUnits(daily(), "/p"), expected);
}

TEST(SystemdUnits, EachTimeIsALineOfTheTimer) {
  JobDefinition job = daily();
  job.calendar = {{0, 8, 13, 5, std::nullopt}, {30, 9, std::nullopt, std::nullopt, std::nullopt}};
  EXPECT_NE(systemdUnits(job, "/p")[1].text.find(
                "OnCalendar=*-*-13 08:00:00\nOnCalendar=Fri *-*-* 08:00:00\nOnCalendar=*-*-* 09:30:00\n"),
            std::string::npos);
}

TEST(SystemdUnits, AJobThatRunsAtLoadIsAServiceThatLogInStarts) {
  const auto units = systemdUnits(agent(), "/p");
  ASSERT_EQ(units.size(), 1U);
  EXPECT_TRUE(units[0].isStarted);
  EXPECT_TRUE(units[0].staysUp);
  EXPECT_TRUE(units[0].text.ends_with("RemainAfterExit=yes\n\n[Install]\nWantedBy=default.target\n"));
  EXPECT_EQ(units[0].text.find("Restart="), std::string::npos);
}

TEST(SystemdUnits, WhatIsAlwaysKeptAliveIsNeverDoneWithItsWork) {
  JobDefinition job = agent();
  job.keepAlive = JobDefinition::KeepAlive::always;
  const std::string text = systemdUnits(job, "/p")[0].text;
  EXPECT_NE(text.find("Restart=always\n"), std::string::npos);
  EXPECT_EQ(text.find("RemainAfterExit"), std::string::npos);
}

TEST(SystemdUnits, WhatIsKeptAliveIsRestartedButNotForEver) {
  JobDefinition job = agent();
  job.keepAlive = JobDefinition::KeepAlive::onFailure;
  const std::string onFailure = systemdUnits(job, "/p")[0].text;
  EXPECT_NE(onFailure.find("StartLimitIntervalSec=300\nStartLimitBurst=20\n\n[Service]\n"), std::string::npos);
  EXPECT_NE(onFailure.find("\nRestart=on-failure\nRestartSec=5\n"), std::string::npos);
  job.keepAlive = JobDefinition::KeepAlive::always;
  EXPECT_NE(systemdUnits(job, "/p")[0].text.find("\nRestart=always\nRestartSec=5\n"), std::string::npos);
}

TEST(SystemdUnits, AGraphicalAgentGoesWithItsSession) {
  JobDefinition job = agent();
  job.session = JobDefinition::Session::graphical;
  const std::string text = systemdUnits(job, "/p")[0].text;
  EXPECT_NE(text.find("\nPartOf=graphical-session.target\n"), std::string::npos);
  EXPECT_TRUE(text.ends_with("[Install]\nWantedBy=graphical-session.target\n"));
}

// A service that stays active after its end would be started by its timer once and never again.
TEST(SystemdUnits, AServiceWithTimesDoesNotStayActive) {
  JobDefinition job = daily();
  job.runAtLoad = true;
  EXPECT_EQ(systemdUnits(job, "/p")[0].text.find("RemainAfterExit"), std::string::npos);
  EXPECT_TRUE(systemdUnits(job, "/p")[0].isStarted);
  EXPECT_FALSE(systemdUnits(job, "/p")[0].staysUp);
  job.keepAlive = JobDefinition::KeepAlive::always;
  EXPECT_TRUE(systemdUnits(job, "/p")[0].staysUp);
}

TEST(SystemdUnits, EveryUnitTellsTheFileThatItWasMadeFrom) {
  for (const UnitFile& unit : systemdUnits(daily(), "/a \"b\".plist")) {
    EXPECT_TRUE(isMadeFrom(unit.text, "/a \"b\".plist"));
    EXPECT_FALSE(isMadeFrom(unit.text, "/a \"b\""));
    EXPECT_FALSE(isMadeFrom(unit.text, "/a \"b\".plist2"));
    EXPECT_FALSE(isMadeFrom(unit.text, ""));
    EXPECT_FALSE(isMadeFrom("[Unit]\n" + unit.text, "/a \"b\".plist"));
  }
}

TEST(SystemdUnits, APathCannotBreakOutOfItsComment) {
  const std::string text = systemdUnits(daily(), "/p\n[Service]\nExecStartPre=/bin/evil\\")[0].text;
  EXPECT_TRUE(text.starts_with(R"(# Made by launchctl from "/p\x0a[Service]\x0aExecStartPre=/bin/evil\\"; what)"));
}

TEST(SystemdUnits, TheArgumentsAreReadBackFromTheService) {
  const auto units = systemdUnits(daily(), "/p");
  EXPECT_EQ(programArgumentsOf(units[0].text), daily().programArguments);
  EXPECT_EQ(programArgumentsOf(units[1].text), std::nullopt);
  EXPECT_EQ(programArgumentsOf("[Service]\nExecStart=\":/bin/other\"\n"), std::nullopt);
}

}  // namespace
}  // namespace zpk
