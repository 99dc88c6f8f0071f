// The real program without a bus: what it says to its command line.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "helper/service/HelperRun.h"
#include "support/TemporaryFolder.h"

namespace zpk::test {
namespace {

using testing::HasSubstr;

struct BadCommandLine {
  std::vector<std::string> arguments;
  const char* named;
};

TEST(HelperCommandLine, AMistakeNamesTheOptionAndWhatIsAllowed) {
  for (const BadCommandLine& bad :
       {BadCommandLine{{"--sesion"}, "'--sesion'"}, BadCommandLine{{"--disks"}, "'--disks' needs a folder"},
        BadCommandLine{{"--disks", "--session"}, "'--disks' needs a folder"},
        BadCommandLine{{"--state="}, "'--state' needs a folder"},
        BadCommandLine{{"--session=yes"}, "'--session' takes no value"}, BadCommandLine{{"stray"}, "'stray'"}}) {
    const ToolResult result = runHelper(bad.arguments);
    EXPECT_EQ(result.status, 2) << bad.named;
    EXPECT_THAT(result.errors, HasSubstr(bad.named));
  }
  const ToolResult unknown = runHelper({"--what"});
  EXPECT_THAT(unknown.errors, HasSubstr("allowed: --session, --disks DIR, --devices, --state DIR, --icons DIR"));
}

TEST(HelperCommandLine, HelpAndVersionNeedNoBus) {
  const ToolResult help = runHelper({"--help"});
  EXPECT_TRUE(help.succeeded());
  EXPECT_THAT(help.output, HasSubstr("--disks DIR"));
  const ToolResult version = runHelper({"--version"});
  EXPECT_TRUE(version.succeeded());
  EXPECT_THAT(version.output, HasSubstr("zpkhelper "));
}

TEST(HelperCommandLine, WithoutABusItEndsWithALine) {
  const TemporaryFolder folder;
  const ToolResult result =
      runHelper({"--session", "--state", folder.path("state")}, "unix:path=" + folder.path("none"));
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.errors, HasSubstr("zpkhelper: "));
}

}  // namespace
}  // namespace zpk::test
