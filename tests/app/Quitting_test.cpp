#include <gtest/gtest.h>

#include <QApplication>
#include <QDialog>
#include <QPushButton>
#include <csignal>

#include "app/QuittingWorld.h"
#include "interface/CollectLogsOutlet.h"
#include "platform/posix/TerminationSignals.h"

namespace zpk {
namespace {

// Every way to ask for the end of the program.
struct Way {
  const char* name;
  std::function<void(QuittingWorld&)> take;
};
void PrintTo(const Way& way, std::ostream* out) {
  *out << way.name;
}

class Quitting : public testing::TestWithParam<Way> {
 protected:
  void quit() { GetParam().take(world); }

  QuittingWorld world;
  const TerminationSignals askedToEnd{world.loop, [this] { world.application.terminate(); }};
};

TEST_P(Quitting, EndsAnIdleProgramAtOnce) {
  world.run([this] { quit(); });
  EXPECT_TRUE(world.workspace.revealed.empty());
}

TEST_P(Quitting, WaitsForTheArchiveToBeRevealed) {
  bool wasAlive = false;
  world.run([&] {
    world.delegate.openCollectLogsWindow();
    world.delegate.collectLogs();
    quit();
    world.soon([&] {
      wasAlive = true;
      EXPECT_TRUE(world.workspace.revealed.empty());
      EXPECT_FALSE(world.mainWindow.isVisible());
      EXPECT_TRUE(world.collectWindow.isVisible());
      world.door.open();
    });
  });
  EXPECT_TRUE(wasAlive);
  EXPECT_EQ(world.workspace.revealed, std::vector<std::string>({"/tmp/ZPK_Logs_now.zip"}));
  EXPECT_FALSE(world.delegate.isCollectingLogs());
}

TEST_P(Quitting, MayBeAskedForAgainWhileItWaits) {
  world.run([&] {
    world.delegate.openCollectLogsWindow();
    world.delegate.collectLogs();
    quit();
    world.soon([&] {
      world.application.terminate();
      QCoreApplication::quit();
      world.collectWindow.QWidget::close();
      world.soon([&] {
        EXPECT_TRUE(world.delegate.isCollectingLogs());
        world.door.open();
      });
    });
  });
  EXPECT_EQ(world.workspace.revealed.size(), 1U);
}

TEST_P(Quitting, WaitsWithoutAWindowOfTheCollectionToo) {
  world.run([&] {
    world.delegate.collectLogs();
    quit();
    world.soon([&] { world.door.open(); });
  });
  EXPECT_EQ(world.workspace.revealed.size(), 1U);
}

TEST_P(Quitting, WaitsForTheAnswerWithItsWindowsOnTheScreen) {
  bool wasAlive = false;
  world.question.due = true;
  world.run([&] {
    quit();
    world.soon([&] {
      EXPECT_TRUE(world.mainWindow.isVisible());
      world.question.answer(false);
      world.soon([&] {
        wasAlive = true;
        quit();
        world.soon([&] { world.question.answer(true); });
      });
    });
  });
  EXPECT_TRUE(wasAlive);
}

INSTANTIATE_TEST_SUITE_P(ByEveryWay, Quitting,
                         testing::Values(Way{"Menu", [](QuittingWorld& world) { world.application.terminate(); }},
                                         Way{"ToolkitOrSession", [](QuittingWorld&) { QCoreApplication::quit(); }},
                                         Way{"Terminate", [](QuittingWorld&) { ::raise(SIGTERM); }},
                                         Way{"Interrupt", [](QuittingWorld&) { ::raise(SIGINT); }},
                                         Way{"HangUp", [](QuittingWorld&) { ::raise(SIGHUP); }}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(QuittingWithTheLastWindow, EndsAnIdleProgram) {
  QuittingWorld world;
  world.run([&] { world.mainWindow.close(); });
}

TEST(QuittingWithTheLastWindow, WaitsForACollectionWhoseWindowIsNotOpen) {
  QuittingWorld world;
  world.run([&] {
    world.delegate.collectLogs();
    world.mainWindow.close();
    world.soon([&] { world.door.open(); });
  });
  EXPECT_EQ(world.workspace.revealed.size(), 1U);
}

// The window of the collection is the last one then; the program ends when that is taken down.
TEST(QuittingWithTheLastWindow, WaitsForTheWindowOfTheCollection) {
  QuittingWorld world;
  world.run([&] {
    world.delegate.openCollectLogsWindow();
    world.delegate.collectLogs();
    world.mainWindow.close();
    world.soon([&] {
      EXPECT_TRUE(world.delegate.isCollectingLogs());
      world.door.open();
    });
  });
  EXPECT_EQ(world.workspace.revealed.size(), 1U);
}

TEST(QuittingWithTheLastWindow, DoesNotHappenWhileAnotherIsOpen) {
  QuittingWorld world;
  bool wasAlive = false;
  world.run([&] {
    world.delegate.openCollectLogsWindow();
    world.mainWindow.close();
    world.soon([&] {
      wasAlive = true;
      world.collectWindow.QWidget::close();
    });
  });
  EXPECT_TRUE(wasAlive);
}

// The window of the collection as the interface makes it, over the main window.
class QuittingWithTheDialog : public testing::Test {
 protected:
  QuittingWithTheDialog() { world.delegate.setCollectLogsWindow(&outlet); }
  QDialog& dialog() {
    auto* found = world.mainWindow.findChild<QDialog*>(QStringLiteral("collectLogsWindow"));
    EXPECT_NE(found, nullptr);
    return *found;
  }
  void begin() {
    world.delegate.openCollectLogsWindow();
    dialog().findChild<QPushButton*>(QStringLiteral("collectLogsButton"))->click();
    EXPECT_TRUE(world.delegate.isCollectingLogs());
  }

  QuittingWorld world;
  CollectLogsOutlet outlet{world.delegate, world.schedule.localization, world.mainWindow};
};

TEST_F(QuittingWithTheDialog, LeavesItOnTheScreenUntilTheArchiveIsRevealed) {
  bool wasAlive = false;
  world.run([&] {
    begin();
    world.application.terminate();
    world.soon([&] {
      wasAlive = true;
      EXPECT_FALSE(world.mainWindow.isVisible());
      EXPECT_TRUE(dialog().isVisible());
      // Neither by its title bar nor by Esc.
      EXPECT_FALSE(dialog().close());
      dialog().reject();
      EXPECT_TRUE(dialog().isVisible());
      world.door.open();
    });
  });
  EXPECT_TRUE(wasAlive);
  EXPECT_FALSE(dialog().isVisible());
  EXPECT_EQ(world.workspace.revealed.size(), 1U);
}

TEST_F(QuittingWithTheDialog, ByTheLastWindowWaitsToo) {
  world.run([&] {
    begin();
    world.mainWindow.close();
    world.soon([&] {
      EXPECT_TRUE(dialog().isVisible());
      world.door.open();
    });
  });
  EXPECT_EQ(world.workspace.revealed.size(), 1U);
}

TEST_F(QuittingWithTheDialog, IsAtOnceWhenNothingIsCollected) {
  world.run([&] {
    world.delegate.openCollectLogsWindow();
    world.application.terminate();
  });
  EXPECT_TRUE(world.workspace.revealed.empty());
}

TEST_F(QuittingWithTheDialog, DoesNotFollowACollectionThatNobodyQuit) {
  bool wasAlive = false;
  world.run([&] {
    begin();
    world.door.open();
    const Seconds end = world.loop.now() + Seconds(20);
    while (world.delegate.isCollectingLogs() && world.loop.now() < end) world.loop.runFor(Seconds(0.01));
    world.soon([&] {
      wasAlive = true;
      EXPECT_TRUE(world.mainWindow.isVisible());
      EXPECT_FALSE(dialog().isVisible());
      world.application.terminate();
    });
  });
  EXPECT_TRUE(wasAlive);
}

// Once: who asks again while it waits changes nothing.
TEST(QuittingApplication, TellsThatItIsLeavingWhenOnlyWorkIsLeft) {
  QuittingWorld world;
  int told = 0;
  world.application.setLeaving([&] { ++told; });
  world.run([&] {
    world.question.due = true;
    world.application.terminate();
    EXPECT_EQ(told, 0) << "the user may stay";
    world.question.answer(false);
    world.question.due = false;
    world.delegate.collectLogs();
    world.application.terminate();
    world.application.terminate();
    EXPECT_EQ(told, 1);
    world.door.open();
  });
  EXPECT_EQ(told, 1);
}

TEST(QuittingApplication, TakesAnAnswerThatNobodyWaitsForForNothing) {
  QuittingWorld world;
  bool wasAlive = false;
  world.run([&] {
    world.application.replyToApplicationShouldTerminate(true);
    world.soon([&] {
      wasAlive = true;
      world.application.terminate();
    });
  });
  EXPECT_TRUE(wasAlive);
}

TEST(QuittingApplication, CanBeAskedAgainAfterARefusal) {
  QuittingWorld world;
  bool wasAlive = false;
  world.run([&] {
    world.delegate.collectLogs();
    world.application.terminate();
    world.application.replyToApplicationShouldTerminate(false);
    world.soon([&] {
      wasAlive = true;
      world.application.terminate();
      world.door.open();
    });
  });
  EXPECT_TRUE(wasAlive);
  EXPECT_EQ(world.workspace.revealed.size(), 1U);
}

}  // namespace
}  // namespace zpk
