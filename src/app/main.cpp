// The program's entry point.

#include <QApplication>
#include <QLocale>
#include <cstdio>
#include <filesystem>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "app/Composition.h"
#include "app/NoAnswer.h"
#include "app/ProgramOptions.h"
#include "platform/qt/NamedDisplay.h"

namespace {

constexpr int kNoAnswer = 1;
constexpr int kNoDisplay = 1;
constexpr int kUsageMistake = 2;

// Whoever runs the program from where it was built has its helper tool beside it.
void findVirtualDisks(zpk::InstalledPaths& paths) {
  std::error_code error;
  const auto folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
  if (!error && std::filesystem::exists(folder / "qrx-helper", error)) paths.virtualDisks = folder.string();
}

QStringList languagesOf(const zpk::RunWindow& options) {
  return options.language ? QStringList(QString::fromStdString(*options.language))
                          : QLocale::system().uiLanguages();
}

// As the desktop gave it to this start, for the window that comes forward.
std::string activationToken() {
  return qEnvironmentVariable("XDG_ACTIVATION_TOKEN").toStdString();
}

// The status to end with.
int runWindow(const zpk::RunWindow& options, int argc, char** argv) {
  zpk::SessionInstance::Claim claim =
      zpk::SessionInstance::claim({.which = zpk::WhichBus::session, .address = {}}, activationToken());
  if (claim.outcome == zpk::SessionInstance::Outcome::handedOver) return 0;
  if (!zpk::isAnyDisplayNamed()) {
    std::fputs("zpk: there is no display to show a window on\n", stderr);
    return kNoDisplay;
  }
  QApplication application(argc, argv);
  QApplication::setApplicationName(QStringLiteral("ZPK"));
  QApplication::setApplicationVersion(QStringLiteral(ZPK_VERSION));
  // Which entry of the desktop's menu the windows belong to.
  QGuiApplication::setDesktopFileName(QStringLiteral("com.tarnwick.zpk"));
  // Dates are in the user's own way of writing unless a language was asked for.
  if (options.language) QLocale::setDefault(QLocale(QString::fromStdString(*options.language)));
  if (claim.outcome == zpk::SessionInstance::Outcome::noAnswer) {
    zpk::tellThatTheOtherDoesNotAnswer(languagesOf(options));
    return kNoAnswer;
  }
  zpk::InstalledPaths paths;
  findVirtualDisks(paths);
  if (options.launcher) paths.launcher = *options.launcher;
  zpk::Composition program(
      {.which = options.sessionBus ? zpk::WhichBus::session : zpk::WhichBus::system, .address = {}},
      languagesOf(options), paths);
  if (claim.instance) program.hold(std::move(claim.instance));
  program.show();
  program.run();
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const zpk::ProgramOptions options = zpk::programOptions({argv + (argc > 0 ? 1 : 0), argv + argc});
  if (const auto* mistake = std::get_if<zpk::UsageMistake>(&options)) {
    std::fprintf(stderr, "zpk: %s\n", mistake->message.c_str());
    return kUsageMistake;
  }
  if (std::holds_alternative<zpk::ShowHelp>(options)) return std::fputs(zpk::programHelp().c_str(), stdout) < 0;
  if (std::holds_alternative<zpk::ShowVersion>(options)) return std::puts("zpk " ZPK_VERSION) < 0;
  return runWindow(std::get<zpk::RunWindow>(options), argc, argv);
}
