// The put-together program and a second one that is really started, on a bus of their own.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QProcess>
#include <cstdlib>

#include "app/Composition.h"
#include "platform/linux/link/PrivateBus.h"
#include "support/TemporaryFolder.h"

namespace zpk {
namespace {

using Outcome = SessionInstance::Outcome;

class ComingForward : public testing::Test {
 protected:
  ComingForward() {
    ::setenv("HOME", folder.path().c_str(), 1);
    ::setenv("DBUS_SESSION_BUS_ADDRESS", bus.address().c_str(), 1);
    ::unsetenv("XDG_ACTIVATION_TOKEN");
    paths.launcher = folder.path("no launcher");
    program = std::make_unique<Composition>(endpoint(), QStringList(QStringLiteral("en")), paths);
    SessionInstance::Claim claim = SessionInstance::claim(endpoint(), "");
    EXPECT_EQ(claim.outcome, Outcome::first);
    program->hold(std::move(claim.instance));
    program->window().show();
  }

  BusEndpoint endpoint() const { return {.which = WhichBus::session, .address = bus.address()}; }
  bool serveUntil(const std::function<bool()>& isThere) {
    const Seconds end = program->runLoop().now() + Seconds(30);
    while (!isThere() && program->runLoop().now() < end) program->runLoop().runFor(Seconds(0.01));
    return isThere();
  }
  // The program is started again, and has ended when this returns; its exit status.
  int startAgain(const char* token = nullptr) {
    QProcess second;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (token) environment.insert(QStringLiteral("XDG_ACTIVATION_TOKEN"), QString::fromUtf8(token));
    second.setProcessEnvironment(environment);
    second.setProcessChannelMode(QProcess::ForwardedChannels);
    second.start(QStringLiteral(ZPK_SECOND), {});
    EXPECT_TRUE(serveUntil([&] { return second.state() == QProcess::NotRunning; }));
    return second.exitStatus() == QProcess::NormalExit ? second.exitCode() : -1;
  }

  TemporaryFolder folder;
  tests::PrivateBus bus;
  InstalledPaths paths;
  std::unique_ptr<Composition> program;
};

TEST_F(ComingForward, AMinimisedWindowIsBack) {
  program->window().showMinimized();
  ASSERT_TRUE(program->window().isMinimized());
  EXPECT_EQ(startAgain(), 0);
  EXPECT_TRUE(serveUntil([&] { return !program->window().isMinimized(); }));
  EXPECT_TRUE(serveUntil([&] { return program->window().isActiveWindow(); }));
}

TEST_F(ComingForward, AClosedWindowIsBack) {
  QWidget another;
  another.show();
  program->window().close();
  EXPECT_EQ(startAgain(), 0);
  EXPECT_TRUE(serveUntil([&] { return program->window().isVisible(); }));
}

TEST_F(ComingForward, AMaximisedWindowStaysSo) {
  program->window().showMaximized();
  program->window().setWindowState(program->window().windowState() | Qt::WindowMinimized);
  EXPECT_EQ(startAgain(), 0);
  EXPECT_TRUE(serveUntil([&] { return !program->window().isMinimized(); }));
  EXPECT_TRUE(program->window().isMaximized());
}

TEST_F(ComingForward, TheDesktopsLeaveIsHandedOn) {
  EXPECT_EQ(startAgain("of the second start"), 0);
  EXPECT_TRUE(serveUntil([] { return qEnvironmentVariable("XDG_ACTIVATION_TOKEN") == "of the second start"; }));
}

TEST_F(ComingForward, AProgramThatHasRunLeavesThePlaceAtOnce) {
  program->runLoop().performAfterDelay(Seconds(0), [&] { program->terminate(); });
  program->run();
  EXPECT_EQ(SessionInstance::claim(endpoint(), "").outcome, Outcome::first);
}

}  // namespace
}  // namespace zpk
