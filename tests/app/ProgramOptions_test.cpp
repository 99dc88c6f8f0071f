#include "app/ProgramOptions.h"

#include <gtest/gtest.h>

namespace zpk {
namespace {

TEST(ProgramOptions, RunsOnTheSystemBusUnlessToldOtherwise) {
  EXPECT_FALSE(std::get<RunWindow>(programOptions({})).sessionBus);
  EXPECT_TRUE(std::get<RunWindow>(programOptions({"--session"})).sessionBus);
}

TEST(ProgramOptions, TakesTheLastLanguageAndNothingThatIsNone) {
  EXPECT_EQ(std::get<RunWindow>(programOptions({"--session"})).language, std::nullopt);
  EXPECT_EQ(std::get<RunWindow>(programOptions({"--language=de", "--session", "--language=pt_BR"})).language,
            "pt_BR");
  for (const std::string_view wrong :
       {"--language", "--language=", "--language=../x", "--language=12", "--language=aVeryLongLanguageName"}) {
    EXPECT_TRUE(std::holds_alternative<UsageMistake>(programOptions({wrong}))) << wrong;
  }
  EXPECT_TRUE(std::holds_alternative<UsageMistake>(programOptions({"--language=LANGUAGE1"})));
}

TEST(ProgramOptions, TakesALauncherByItsAbsolutePathOnly) {
  EXPECT_EQ(std::get<RunWindow>(programOptions({"--session"})).launcher, std::nullopt);
  EXPECT_EQ(std::get<RunWindow>(programOptions({"--launcher=/opt/a b=c/launchctl"})).launcher,
            "/opt/a b=c/launchctl");
  for (const std::string_view wrong : {"--launcher=", "--launcher=launchctl", "--launcher=./launchctl"}) {
    EXPECT_TRUE(std::holds_alternative<UsageMistake>(programOptions({wrong}))) << wrong;
  }
}

TEST(ProgramOptions, TakesAValueFromTheNextArgumentToo) {
  const auto window = std::get<RunWindow>(programOptions({"--launcher", "/l", "--session", "--language", "he"}));
  EXPECT_EQ(window.launcher, "/l");
  EXPECT_TRUE(window.sessionBus);
  EXPECT_EQ(window.language, "he");
  EXPECT_NE(std::get<UsageMistake>(programOptions({"--launcher"})).message.find("--launcher=PATH"),
            std::string::npos);
  // What follows is the value, whatever it looks like.
  EXPECT_TRUE(std::holds_alternative<UsageMistake>(programOptions({"--launcher", "--session"})));
}

TEST(ProgramOptions, AnswersHelpAndVersion) {
  EXPECT_TRUE(std::holds_alternative<ShowHelp>(programOptions({"--version", "--help"})));
  EXPECT_TRUE(std::holds_alternative<ShowVersion>(programOptions({"--session", "--version"})));
}

TEST(ProgramOptions, MistakeNamesTheOptionAndWhatIsAllowed) {
  for (const std::string_view wrong : {"--sesion", "-h", "file", "", "--session=1"}) {
    const auto mistake = std::get<UsageMistake>(programOptions({"--help", wrong}));
    EXPECT_NE(mistake.message.find("'" + std::string(wrong) + "'"), std::string::npos);
    EXPECT_NE(mistake.message.find("--session, --language=LANGUAGE, --launcher=PATH, --help, --version"),
              std::string::npos);
  }
}

TEST(ProgramOptions, HelpListsEveryOption) {
  for (const char* option : {"--session", "--language=LANGUAGE", "--launcher=PATH", "--help", "--version"}) {
    EXPECT_NE(programHelp().find(option), std::string::npos) << option;
  }
}

}  // namespace
}  // namespace zpk
