// The program's window with everything that is installed, used with the mouse: opens it, presses the switch that
// each word names, and prints a line when it is open and after each press of what the window shows then:
//
//   switch_in_window PICTURES WORD…
//
//   agent       the status icon
//   schedule    Auto-Protection
#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QLabel>
#include <cstdio>

#include "app/Composition.h"
#include "tools/drive/TourSteps.h"

namespace zpk {
namespace {

// The controller asks the launcher a tenth of a second after a press what came of it; until then the window shows
// what was wished for.
constexpr Seconds kUntilItIsKnown{0.5};

bool isAgentOn(Stage& stage) {
  return stage.window.widget<QAbstractButton>("statusBarAppButton").isChecked();
}

bool isScheduleOn(Stage& stage) {
  return stage.window.widget<QLabel>("autoProtectionTextField").text() ==
         QStringLiteral("Auto-Protection: Enabled");
}

void press(Stage& stage, const QString& word) {
  if (word == QStringLiteral("agent")) {
    stage.hands.press(stage.window.widget<QAbstractButton>("statusBarAppButton"));
  } else if (word == QStringLiteral("schedule")) {
    command(stage, "toggleSchedulerButton", "autoProtectionAction");
  } else {
    throw DriveFailed(QStringLiteral("there is no switch ") + word);
  }
  stage.program.runLoop().runFor(kUntilItIsKnown);
}

void print(Stage& stage) {
  std::printf("agent %s, schedule %s\n", isAgentOn(stage) ? "on" : "off", isScheduleOn(stage) ? "on" : "off");
}

int run(const QStringList& arguments) try {
  Composition program({.which = WhichBus::system, .address = {}}, {QStringLiteral("en")});
  WindowDriver window(program, arguments.at(1));
  const auto hands = Hands::make(InputKind::mouse);
  Stage stage{program, window, *hands, {}, {}};
  steps::openWindow(stage);
  print(stage);
  for (const QString& word : arguments.mid(2)) {
    press(stage, word);
    print(stage);
  }
  window.takePicture(QStringLiteral("switched"));
  return 0;
} catch (const DriveFailed& failure) {
  std::fprintf(stderr, "switch_in_window: %s\n", failure.what());
  return 1;
}

}  // namespace
}  // namespace zpk

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  const QStringList arguments = QApplication::arguments();
  return arguments.size() < 2 ? 2 : zpk::run(arguments);
}
