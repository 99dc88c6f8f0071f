#include "tools/launchctl/Arguments.h"

#include <gtest/gtest.h>

namespace zpk {
namespace {

using Verb = LauncherCommand::Verb;

TEST(LauncherArguments, TheFormsThatTheProgramUses) {
  EXPECT_EQ(parseLauncherCommand({"list", "a.b"}), (LauncherCommand{Verb::list, false, false, {"a.b"}}));
  EXPECT_EQ(parseLauncherCommand({"list", "-x", "a.b"}), (LauncherCommand{Verb::list, false, true, {"a.b"}}));
  EXPECT_EQ(parseLauncherCommand({"load", "/p"}), (LauncherCommand{Verb::load, false, false, {"/p"}}));
  EXPECT_EQ(parseLauncherCommand({"unload", "/p"}), (LauncherCommand{Verb::unload, false, false, {"/p"}}));
  EXPECT_EQ(parseLauncherCommand({"load", "-w", "/p"}), (LauncherCommand{Verb::load, true, false, {"/p"}}));
  EXPECT_EQ(parseLauncherCommand({"unload", "-w", "/p"}), (LauncherCommand{Verb::unload, true, false, {"/p"}}));
}

TEST(LauncherArguments, TheFormsForATerminal) {
  EXPECT_EQ(parseLauncherCommand({"list"}), (LauncherCommand{Verb::list, false, false, {}}));
  EXPECT_EQ(parseLauncherCommand({"load", "a", "b"}), (LauncherCommand{Verb::load, false, false, {"a", "b"}}));
  EXPECT_EQ(parseLauncherCommand({"load", "--", "-w"}), (LauncherCommand{Verb::load, false, false, {"-w"}}));
  EXPECT_EQ(parseLauncherCommand({"--help"}), (LauncherCommand{Verb::help, false, false, {}}));
  EXPECT_EQ(parseLauncherCommand({"--version"}), (LauncherCommand{Verb::version, false, false, {}}));
}

TEST(LauncherArguments, AnythingElseIsNotUnderstood) {
  const std::vector<std::vector<std::string>> others = {{},
                                                        {"start"},
                                                        {"load"},
                                                        {"load", "-w"},
                                                        {"unload"},
                                                        {"load", "-x", "a"},
                                                        {"list", "-x"},
                                                        {"list", "a", "b"},
                                                        {"list", "-w"},
                                                        {"list", "-x", "a", "b"},
                                                        {"load", ""},
                                                        {"", "a"},
                                                        {"list", ""},
                                                        {"--help", "me"},
                                                        {"load", "-W", "a"}};
  for (const auto& arguments : others) {
    EXPECT_FALSE(parseLauncherCommand(arguments)) << testing::PrintToString(arguments);
  }
}

}  // namespace
}  // namespace zpk
