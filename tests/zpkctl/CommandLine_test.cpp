#include "tools/zpkctl/CommandLine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zpk::ctl {
namespace {

using testing::HasSubstr;

RunCommand commandOf(const std::vector<std::string_view>& arguments) {
  const CommandLine parsed = parseCommandLine(arguments);
  const auto* command = std::get_if<RunCommand>(&parsed);
  EXPECT_NE(command, nullptr);
  return command ? *command : RunCommand{};
}

std::string mistakeOf(const std::vector<std::string_view>& arguments) {
  const CommandLine parsed = parseCommandLine(arguments);
  const auto* mistake = std::get_if<UsageMistake>(&parsed);
  return mistake ? mistake->message : "no mistake";
}

TEST(ZpkctlCommandLine, TakesOptionsBeforeAndAfterTheCommand) {
  EXPECT_EQ(commandOf({"backup"}).verb, Verb::backup);
  EXPECT_FALSE(commandOf({"backup"}).sessionBus);
  EXPECT_TRUE(commandOf({"--session", "stop"}).sessionBus);
  EXPECT_TRUE(commandOf({"stop", "--session"}).sessionBus);
  EXPECT_TRUE(commandOf({"list", "--json"}).json);
  EXPECT_TRUE(commandOf({"status", "--verbose"}).verbose);
}

TEST(ZpkctlCommandLine, NamesTheWordThatItDoesNotKnow) {
  EXPECT_THAT(mistakeOf({"bakup"}), HasSubstr("'bakup' (allowed: backup, status, list, verify, stop)"));
  EXPECT_THAT(mistakeOf({"backup", "--now"}), HasSubstr("'--now' (allowed: --json,"));
  EXPECT_THAT(mistakeOf({"--help", "x"}), HasSubstr("'x'"));
  EXPECT_THAT(mistakeOf({""}), HasSubstr("unknown command ''"));
}

TEST(ZpkctlCommandLine, WantsOneCommand) {
  EXPECT_THAT(mistakeOf({}), HasSubstr("missing"));
  EXPECT_THAT(mistakeOf({"--session"}), HasSubstr("missing"));
  EXPECT_THAT(mistakeOf({"backup", "stop"}), HasSubstr("'stop' is a second one"));
}

TEST(ZpkctlCommandLine, TakesJsonOnlyWhereThereIsSome) {
  EXPECT_THAT(mistakeOf({"backup", "--json"}), HasSubstr("'backup' knows no --json"));
}

TEST(ZpkctlCommandLine, HelpNeedsNoCommandAndNamesEverything) {
  EXPECT_TRUE(std::holds_alternative<ShowHelp>(parseCommandLine({"--help", "--version"})));
  EXPECT_TRUE(std::holds_alternative<ShowVersion>(parseCommandLine({"--version"})));
  for (const char* word : {"backup", "status", "list", "stop", "--json", "--session", "--verbose"}) {
    EXPECT_THAT(helpText(), HasSubstr(std::string("  ") + word + " "));
  }
}

}  // namespace
}  // namespace zpk::ctl
