#include "app/Composition.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <sstream>

#include "support/TemporaryFolder.h"

namespace zpk {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// The program with a home of its own, no bus, and a launcher that writes down what it is asked, loads nothing, and
// says no. Only one test launches it: the one daemon of the process belongs to what is launched first.
class ProgramPutTogether : public testing::Test {
 protected:
  ProgramPutTogether() {
    folder.put("launcher", "#!/bin/sh\necho \"$@\" >> \"$0.asked\"\nexit 1\n");
    ::chmod(folder.path("launcher").c_str(), 0755);
    // In a zone where a time that went through it would show.
    ::setenv("TZ", "Asia/Kolkata", 1);
    ::setenv("HOME", folder.path().c_str(), 1);
    paths.launcher = folder.path("launcher");
    paths.statusBarAgent = "/agents/com.example.agent.plist";
  }

  std::unique_ptr<Composition> make() {
    return std::make_unique<Composition>(bus, QStringList(QStringLiteral("en")), paths);
  }
  // Lines of what the launcher was asked, oldest first.
  std::vector<std::string> asked() const {
    std::vector<std::string> lines;
    std::istringstream text(folder.get("launcher.asked"));
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    return lines == std::vector<std::string>({"(no file)"}) ? std::vector<std::string>() : lines;
  }
  std::string job() const { return folder.path("Library/LaunchAgents/com.tarnwick.zpkauto.plist"); }
  // Serves until `isThere`, or until a deadline that only a broken program meets.
  static bool serveUntil(Composition& program, const std::function<bool()>& isThere) {
    const Seconds end = program.runLoop().now() + Seconds(30);
    while (!isThere() && program.runLoop().now() < end) program.runLoop().runFor(Seconds(0.01));
    return isThere();
  }

  TemporaryFolder folder;
  InstalledPaths paths;
  BusEndpoint bus{.which = WhichBus::session, .address = "unix:path=" + folder.path("no-bus")};
};

TEST_F(ProgramPutTogether, AsksNobodyAnythingBeforeItIsLaunched) {
  const auto program = make();
  program->window().show();
  EXPECT_THAT(asked(), IsEmpty());
  EXPECT_FALSE(program->controller().isLaunched());
}

TEST_F(ProgramPutTogether, LaunchesOnceWhenItsWindowIsPaintedAndEndsWhenThatIsClosed) {
  const auto program = make();
  program->show();
  EXPECT_THAT(asked(), IsEmpty());
  EXPECT_TRUE(serveUntil(*program, [&] { return asked().size() == 3; }));
  // The schedule, whose job is disabled for good when it is not loaded, then the agent's switch.
  EXPECT_THAT(asked(), ElementsAre("list com.tarnwick.zpkauto", "unload -w " + job(), "list com.example.agent"));
  EXPECT_TRUE(program->controller().isLaunched());
  EXPECT_FALSE(program->scheduler().isEnabled());
  EXPECT_TRUE(program->controller().statusBarAppDisabled());
  // A user who never saved a schedule can switch it on all the same.
  program->scheduler().setEnabled(true);
  EXPECT_NE(folder.get("Library/LaunchAgents/com.tarnwick.zpkauto.plist"), "(no file)");
  const std::size_t questions = asked().size();
  program->launch();
  EXPECT_EQ(asked().size(), questions);
  program->runLoop().performAfterDelay(Seconds(0), [&] { program->window().close(); });
  program->run();
  EXPECT_FALSE(program->window().isVisible());
}

TEST_F(ProgramPutTogether, HasEverythingSwitchedOffWithoutALauncher) {
  paths.launcher = folder.path("missing");
  const auto program = make();
  program->scheduler().applicationDidFinishLaunching();
  program->controller().checkStatusBarApp();
  EXPECT_FALSE(program->scheduler().isEnabled());
  EXPECT_TRUE(program->controller().statusBarAppDisabled());
}

TEST_F(ProgramPutTogether, ShowsTheScheduledTimeAsItIsStoredWhateverTheZone) {
  const auto program = make();
  program->scheduler().applicationDidFinishLaunching();
  program->scheduler().setEnabled(true);
  program->scheduler().setTimeOfDay(Date{34'200});
  const std::string text = program->scheduler().textualRepresentation();
  EXPECT_NE(text.find("9:30"), std::string::npos) << text;
}

TEST_F(ProgramPutTogether, MayEndWhileACheckOfTheAgentIsStillToCome) {
  auto program = make();
  program->controller().setStatusBarAppDisabled(false);
  const std::weak_ptr<ZPKUIDaemonController> controller = program->controller().weak_from_this();
  program.reset();
  EXPECT_TRUE(controller.expired());
  EXPECT_EQ(asked().back(), "load -w /agents/com.example.agent.plist");
}

TEST_F(ProgramPutTogether, SwallowsThatUpdaterAndUninstallerAreMissing) {
  paths.updater = folder.path("missing updater");
  paths.uninstaller = folder.path("missing uninstaller");
  const auto program = make();
  program->delegate().checkForUpdate();
  program->delegate().uninstall();
  EXPECT_THAT(asked(), IsEmpty());
}

TEST_F(ProgramPutTogether, StartsTheUpdaterWithItsArgumentAndDoesNotWait) {
  paths.updater = paths.launcher;
  const auto program = make();
  program->delegate().checkForUpdate();
  EXPECT_TRUE(serveUntil(*program, [&] { return asked() == std::vector<std::string>({"--forceui"}); }));
}

}  // namespace
}  // namespace zpk
