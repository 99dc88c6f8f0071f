#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace zpk {

// What the program was asked to do on its command line. Decided before a display is opened, so that help and
// mistakes can be told anywhere.
struct RunWindow {
  bool sessionBus = false;              // the helper is looked for on the session bus; the system bus otherwise
  std::optional<std::string> language;  // "de", "pt_BR"; the desktop's otherwise
  std::optional<std::string> launcher;  // absolute path of the job launcher's tool; the installed one otherwise
};
struct ShowHelp {};
struct ShowVersion {};
struct UsageMistake {
  std::string message;  // names what is wrong and what is allowed
};
using ProgramOptions = std::variant<RunWindow, ShowHelp, ShowVersion, UsageMistake>;

// `arguments` without the program's own name. A value is given as "--language=de" or "--language de". The first
// mistake decides, then help, then version.
ProgramOptions programOptions(const std::vector<std::string_view>& arguments);

std::string programHelp();

}  // namespace zpk
