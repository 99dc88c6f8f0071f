#include "tools/zpkstatusbar/StatusBarOptions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zpk {
namespace {

using testing::HasSubstr;

TEST(StatusBarOptions, AreTheInstalledOnesWithoutArguments) {
  const auto options = std::get<RunStatusBar>(statusBarOptions({}));
  EXPECT_FALSE(options.sessionBus);
  EXPECT_EQ(options.language, "");
  EXPECT_EQ(options.program, "");
  EXPECT_EQ(options.patienceSeconds, 20);
}

TEST(StatusBarOptions, TakeWhatTheyAllow) {
  const auto options = std::get<RunStatusBar>(
      statusBarOptions({"--session", "--language=de_AT", "--program=/opt/zpk", "--patience=0"}));
  EXPECT_TRUE(options.sessionBus);
  EXPECT_EQ(options.language, "de_AT");
  EXPECT_EQ(options.program, "/opt/zpk");
  EXPECT_EQ(options.patienceSeconds, 0);
  EXPECT_TRUE(std::holds_alternative<ShowStatusBarHelp>(statusBarOptions({"--version", "--help"})));
  EXPECT_TRUE(std::holds_alternative<ShowStatusBarVersion>(statusBarOptions({"--version"})));
}

TEST(StatusBarOptions, NameWhatTheyDoNotAllow) {
  for (const char* wrong :
       {"-x", "zpk", "--language=", "--language=../x", "--program=zpk", "--patience=", "--patience=-1",
        "--patience=1x", "--patience=601", "--patience=99999999999", "--sessions", ""}) {
    const StatusBarOptions options = statusBarOptions({"--session", wrong});
    const auto* mistake = std::get_if<StatusBarMistake>(&options);
    ASSERT_NE(mistake, nullptr) << wrong;
    EXPECT_THAT(mistake->message, HasSubstr("'" + std::string(wrong) + "' is not allowed (allowed: --session,"));
  }
}

TEST(StatusBarOptions, HelpNamesEachOfThem) {
  for (const char* name : {"--session", "--language=", "--program=", "--patience=", "--help", "--version"}) {
    EXPECT_THAT(statusBarHelp(), HasSubstr(name));
  }
}

}  // namespace
}  // namespace zpk
