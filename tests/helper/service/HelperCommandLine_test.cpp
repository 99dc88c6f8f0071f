// The real program without a bus: what it says to its command line.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "helper/process/ToolRunner.h"
#include "support/TemporaryFolder.h"

namespace zpk::test {
namespace {

using testing::HasSubstr;

struct BadCommandLine {
  std::vector<std::string> arguments;
  const char* named;
};

TEST(HelperCommandLine, AMistakeNamesTheOptionAndWhatIsAllowed) {
  const CancelFlag never;
  for (const BadCommandLine& bad :
       {BadCommandLine{{"--sesion"}, "'--sesion'"}, BadCommandLine{{"--disks"}, "'--disks' needs a folder"},
        BadCommandLine{{"--disks", "--session"}, "'--disks' needs a folder"},
        BadCommandLine{{"--state="}, "'--state' needs a folder"},
        BadCommandLine{{"--session=yes"}, "'--session' takes no value"}, BadCommandLine{{"stray"}, "'stray'"}}) {
    const auto result = runTool({ZPKHELPER, bad.arguments, {}, ToolAccess::ReadsOnly, {}}, never);
    ASSERT_TRUE(result.hasValue());
    EXPECT_EQ(result->status, 2) << bad.named;
    EXPECT_THAT(result->errors, HasSubstr(bad.named));
  }
  const auto unknown = runTool({ZPKHELPER, {"--what"}, {}, ToolAccess::ReadsOnly, {}}, never);
  EXPECT_THAT(unknown->errors, HasSubstr("allowed: --session, --disks DIR, --devices, --state DIR, --icons DIR"));
}

TEST(HelperCommandLine, HelpAndVersionNeedNoBus) {
  const CancelFlag never;
  const auto help = runTool({ZPKHELPER, {"--help"}, {}, ToolAccess::ReadsOnly, {}}, never);
  EXPECT_TRUE(help->succeeded());
  EXPECT_THAT(help->output, HasSubstr("--disks DIR"));
  const auto version = runTool({ZPKHELPER, {"--version"}, {}, ToolAccess::ReadsOnly, {}}, never);
  EXPECT_TRUE(version->succeeded());
  EXPECT_THAT(version->output, HasSubstr("zpkhelper "));
}

TEST(HelperCommandLine, WithoutABusItEndsWithALine) {
  const TemporaryFolder folder;
  const CancelFlag never;
  const auto result = runTool({"/usr/bin/env",
                               {"DBUS_SESSION_BUS_ADDRESS=unix:path=" + folder.path("none"), ZPKHELPER, "--session",
                                "--state", folder.path("state")},
                               {},
                               ToolAccess::ReadsAndWrites,
                               {}},
                              never);
  EXPECT_EQ(result->status, 1);
  EXPECT_THAT(result->errors, HasSubstr("zpkhelper: "));
}

}  // namespace
}  // namespace zpk::test
