#include "app/ProgramOptions.h"

#include <gtest/gtest.h>

namespace zpk {
namespace {

TEST(ProgramOptions, RunsOnTheSystemBusUnlessToldOtherwise) {
  EXPECT_FALSE(std::get<RunWindow>(programOptions({})).sessionBus);
  EXPECT_TRUE(std::get<RunWindow>(programOptions({"--session"})).sessionBus);
}

TEST(ProgramOptions, AnswersHelpAndVersion) {
  EXPECT_TRUE(std::holds_alternative<ShowHelp>(programOptions({"--version", "--help"})));
  EXPECT_TRUE(std::holds_alternative<ShowVersion>(programOptions({"--session", "--version"})));
}

TEST(ProgramOptions, MistakeNamesTheOptionAndWhatIsAllowed) {
  for (const std::string_view wrong : {"--sesion", "-h", "file", "", "--session=1"}) {
    const auto mistake = std::get<UsageMistake>(programOptions({"--help", wrong}));
    EXPECT_NE(mistake.message.find("'" + std::string(wrong) + "'"), std::string::npos);
    EXPECT_NE(mistake.message.find("--session, --help, --version"), std::string::npos);
  }
}

TEST(ProgramOptions, HelpListsEveryOption) {
  for (const char* option : {"--session", "--help", "--version"}) {
    EXPECT_NE(programHelp().find(option), std::string::npos) << option;
  }
}

}  // namespace
}  // namespace zpk
