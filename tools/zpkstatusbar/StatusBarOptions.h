#pragma once

#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace zpk {

// What the program was asked to do on its command line. Decided before a display is opened.
struct RunStatusBar {
  bool sessionBus = false;   // the helper is looked for on the session bus; the system bus otherwise
  std::string language;      // "de", "pt_BR"; empty for the desktop's
  std::string program;       // absolute path of what "Open ZPK" starts; empty for the installed one
  int patienceSeconds = 20;  // how long a status bar is waited for
};
struct ShowStatusBarHelp {};
struct ShowStatusBarVersion {};
struct StatusBarMistake {
  std::string message;
};
using StatusBarOptions = std::variant<RunStatusBar, ShowStatusBarHelp, ShowStatusBarVersion, StatusBarMistake>;

// `arguments` without the program's own name. The first one that is not allowed decides.
StatusBarOptions statusBarOptions(const std::vector<std::string_view>& arguments);

std::string statusBarHelp();

}  // namespace zpk
