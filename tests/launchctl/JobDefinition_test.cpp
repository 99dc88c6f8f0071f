#include "tools/launchctl/JobDefinition.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string_view>

#include "base/PropertyList.h"

namespace zpk {
namespace {

using KeepAlive = JobDefinition::KeepAlive;

Dictionary scheduleJob() {
  return {{"Label", "com.tarnwick.zpkauto"},
          {"ProgramArguments", Array{"/usr/bin/zpkctl", "backup"}},
          {"KeepAlive", false},
          {"RunAtLoad", false},
          {"StartCalendarInterval", Dictionary{{"Minute", 0}, {"Hour", 12}}}};
}

Dictionary with(Dictionary job, std::string_view key, Value value) {
  job.set(key, std::move(value));
  return job;
}

std::string refusal(const Dictionary& job) {
  const auto definition = jobDefinition(job);
  return definition ? "(none)" : definition.error().reason;
}

TEST(JobDefinition, TheJobOfTheScheduleEditor) {
  const auto job = jobDefinition(scheduleJob());
  ASSERT_TRUE(job) << job.error().reason;
  EXPECT_EQ(job->label, "com.tarnwick.zpkauto");
  EXPECT_EQ(job->programArguments, (std::vector<std::string>{"/usr/bin/zpkctl", "backup"}));
  EXPECT_FALSE(job->runAtLoad);
  EXPECT_EQ(job->keepAlive, KeepAlive::no);
  EXPECT_EQ(job->calendar.size(), 1U);
}

TEST(JobDefinition, TheStatusBarAgent) {
  const auto job = jobDefinition({{"Label", "com.tarnwick.zpkstatusbar"},
                                  {"ProgramArguments", Array{"/usr/libexec/zpk/zpkstatusbar"}},
                                  {"RunAtLoad", true},
                                  {"LimitLoadToSessionType", "Aqua"},
                                  {"KeepAlive", Dictionary{{"SuccessfulExit", false}}}});
  ASSERT_TRUE(job) << job.error().reason;
  EXPECT_TRUE(job->runAtLoad);
  EXPECT_EQ(job->keepAlive, KeepAlive::onFailure);
  EXPECT_EQ(job->session, JobDefinition::Session::graphical);
  EXPECT_TRUE(job->calendar.empty());
}

TEST(JobDefinition, NumbersCountAsTheBooleansThatTheyEqual) {
  const auto job = jobDefinition(with(with(scheduleJob(), "KeepAlive", 0), "RunAtLoad", 0));
  ASSERT_TRUE(job) << job.error().reason;
  EXPECT_FALSE(job->runAtLoad);
  EXPECT_EQ(job->keepAlive, KeepAlive::no);
}

TEST(JobDefinition, WhatIsKeptAliveIsRunAtLoad) {
  const auto job = jobDefinition(with(with(scheduleJob(), "KeepAlive", true), "RunAtLoad", false));
  ASSERT_TRUE(job);
  EXPECT_TRUE(job->runAtLoad);
  EXPECT_EQ(job->keepAlive, KeepAlive::always);
}

TEST(JobDefinition, AJobWithoutLabelOrProgramIsRefused) {
  Dictionary noLabel = scheduleJob();
  noLabel.remove("Label");
  EXPECT_EQ(refusal(noLabel), "there is no Label");
  Dictionary noProgram = scheduleJob();
  noProgram.remove("ProgramArguments");
  EXPECT_EQ(refusal(noProgram), "there is no ProgramArguments");
}

TEST(JobDefinition, ALabelThatIsNoNameOfAUnitIsRefused) {
  for (const char* label :
       {"", "../x", "a/b", ".hidden", "-option", "a@b", "a b", "a\nb", "a\\b", "caf\xc3\xa9", "%h", ":a"}) {
    EXPECT_FALSE(jobDefinition(with(scheduleJob(), "Label", label))) << label;
  }
  EXPECT_FALSE(jobDefinition(with(scheduleJob(), "Label", std::string(241, 'a'))));
  EXPECT_FALSE(jobDefinition(with(scheduleJob(), "Label", 5)));
  EXPECT_TRUE(jobDefinition(with(scheduleJob(), "Label", "A_b-9:c.d")));
}

TEST(JobDefinition, AProgramWithoutAnAbsolutePathIsRefused) {
  const std::string path = "the program is not an absolute path without quotes, backslashes and control characters";
  for (const char* program :
       {"", "zpkctl", "bin/zpkctl", "/", "/bin/", "@/bin/x", "/a\"b", "/a\\b", "/a'b", "/a\nb"}) {
    EXPECT_EQ(refusal(with(scheduleJob(), "ProgramArguments", Array{program})), path) << program;
  }
  EXPECT_EQ(refusal(with(scheduleJob(), "ProgramArguments", Array{"/a b/$x%h;#", "\n\"'"})), "(none)");
}

TEST(JobDefinition, ArgumentsThatNoProgramCanHaveAreRefused) {
  const std::string notAnArray = "ProgramArguments is not an array with the program in it";
  EXPECT_EQ(refusal(with(scheduleJob(), "ProgramArguments", "/bin/true")), notAnArray);
  EXPECT_EQ(refusal(with(scheduleJob(), "ProgramArguments", Array{})), notAnArray);
  EXPECT_EQ(refusal(with(scheduleJob(), "ProgramArguments", Array{"/bin/true", 5})),
            "ProgramArguments has something that is not a text");
  EXPECT_EQ(refusal(with(scheduleJob(), "ProgramArguments", Array{"/bin/true", std::string(40'000, 'a')})),
            "ProgramArguments is too long");
}

TEST(JobDefinition, CharactersThatAreNoneAreRefused) {
  const auto refusalOf = [](std::string argument) {
    return refusal(with(scheduleJob(), "ProgramArguments", Array{"/bin/true", std::move(argument)}));
  };
  const std::string none = "ProgramArguments has a character that no program can be given";
  for (const char* text : {"\ufdd0", "a\ufdef", "\ufffe", "\uffff", "\U0001ffff", "\U000ffffe", "\U0010fffe"}) {
    EXPECT_EQ(refusalOf(text), none) << text;
  }
  EXPECT_EQ(refusalOf(std::string("a\0b", 3)), none);
  for (const char* text : {"\ufdcf", "\ufdf0", "\ufffd", "\U0001fffd", "\U00010fff", "\u0001\u007f"}) {
    EXPECT_EQ(refusalOf(text), "(none)") << text;
  }
}

TEST(JobDefinition, AKeyThatIsNotKnownIsRefusedRatherThanPassedOver) {
  EXPECT_EQ(refusal(with(scheduleJob(), "StartInterval", 60)), "the key StartInterval is not supported");
}

TEST(JobDefinition, OtherKindsOfValuesAreRefused) {
  EXPECT_EQ(refusal(with(scheduleJob(), "RunAtLoad", "yes")), "RunAtLoad is not a boolean");
  const std::string keepAlive = "KeepAlive is neither a boolean nor a dictionary with SuccessfulExit alone";
  EXPECT_EQ(refusal(with(scheduleJob(), "KeepAlive", "yes")), keepAlive);
  EXPECT_EQ(refusal(with(scheduleJob(), "KeepAlive", Dictionary{{"Crashed", true}})), keepAlive);
  EXPECT_EQ(refusal(with(scheduleJob(), "KeepAlive", Dictionary{{"SuccessfulExit", true}})),
            "KeepAlive with SuccessfulExit true is not supported");
  EXPECT_EQ(refusal(with(scheduleJob(), "LimitLoadToSessionType", "LoginWindow")),
            "LimitLoadToSessionType is neither Aqua nor Background");
  EXPECT_EQ(refusal(with(scheduleJob(), "StartCalendarInterval", Dictionary{{"Minute", 75}})),
            "Minute of StartCalendarInterval is not between 0 and 59: 75");
}

TEST(JobDefinition, AJobThatNothingEverStartsIsRefused) {
  Dictionary job = scheduleJob();
  job.remove("StartCalendarInterval");
  EXPECT_EQ(refusal(job),
            "nothing says when the job is to run: neither StartCalendarInterval, RunAtLoad nor KeepAlive");
}

TEST(JobDefinition, TheLabelIsReadFromAJobThatIsOtherwiseWrong) {
  const auto label = jobLabel({{"Label", "a.b"}, {"Nonsense", 1}});
  ASSERT_TRUE(label);
  EXPECT_EQ(*label, "a.b");
  EXPECT_FALSE(jobLabel({}));
}

Expected<Dictionary, JobError> read(std::string_view text) {
  const std::vector<std::uint8_t> bytes(text.begin(), text.end());
  return readJobFile(bytes);
}

// An agent that the launcher refuses would only be missed by a user who looks for its icon.
TEST(JobFile, TheInstalledAgentCanBeLoaded) {
  std::ifstream file(ZPK_LAUNCH_AGENTS "/com.tarnwick.zpkstatusbar.plist", std::ios::binary);
  const auto dictionary = read(std::string(std::istreambuf_iterator<char>(file), {}));
  ASSERT_TRUE(dictionary) << dictionary.error().reason;
  const auto job = jobDefinition(*dictionary);
  ASSERT_TRUE(job) << job.error().reason;
  EXPECT_EQ(job->label, "com.tarnwick.zpkstatusbar");
  EXPECT_TRUE(job->runAtLoad);
  EXPECT_EQ(job->keepAlive, KeepAlive::onFailure);
}

TEST(JobFile, OnlyADictionaryIsAJob) {
  EXPECT_TRUE(read("{ Label = \"a.b\"; }"));
  EXPECT_EQ(read("(a, b)").error().reason, "the property list is not a dictionary");
  EXPECT_FALSE(read(""));
  EXPECT_FALSE(read("<plist><dict>"));
}

TEST(JobFile, AFileBeyondAllReasonIsNotRead) {
  EXPECT_FALSE(read("{ Label = a; } " + std::string(kMaxJobBytes, ' ')));
}

}  // namespace
}  // namespace zpk
