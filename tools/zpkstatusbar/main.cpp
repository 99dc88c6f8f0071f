// The program's entry point.

#include <QApplication>
#include <QLocale>
#include <cstdio>
#include <variant>
#include <vector>

#include "platform/qt/NamedDisplay.h"
#include "tools/zpkstatusbar/StatusBarOptions.h"
#include "tools/zpkstatusbar/StatusBarProgram.h"

namespace {

constexpr int kUsageMistake = 2;

int runStatusBar(const zpk::RunStatusBar& options, int argc, char** argv) {
  QApplication application(argc, argv);
  QApplication::setApplicationName(QStringLiteral("zpkstatusbar"));
  QApplication::setApplicationDisplayName(QStringLiteral("ZPK"));
  QApplication::setApplicationVersion(QStringLiteral(ZPK_VERSION));
  // A message box of the toolkit's must not end it when it closes.
  QApplication::setQuitOnLastWindowClosed(false);
  if (!options.language.empty()) QLocale::setDefault(QLocale(QString::fromStdString(options.language)));
  return zpk::StatusBarProgram(options).run();
}

}  // namespace

int main(int argc, char** argv) {
  const zpk::StatusBarOptions options = zpk::statusBarOptions({argv + (argc > 0 ? 1 : 0), argv + argc});
  if (const auto* mistake = std::get_if<zpk::StatusBarMistake>(&options)) {
    std::fprintf(stderr, "zpkstatusbar: %s\n", mistake->message.c_str());
    return kUsageMistake;
  }
  if (std::holds_alternative<zpk::ShowStatusBarHelp>(options)) {
    return std::fputs(zpk::statusBarHelp().c_str(), stdout) < 0;
  }
  if (std::holds_alternative<zpk::ShowStatusBarVersion>(options)) return std::puts("zpkstatusbar " ZPK_VERSION) < 0;
  if (!zpk::isAnyDisplayNamed()) {
    std::fputs("zpkstatusbar: there is no display to show an icon on\n", stderr);
    return 1;
  }
  return runStatusBar(std::get<zpk::RunStatusBar>(options), argc, argv);
}
