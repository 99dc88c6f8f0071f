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
};
struct ShowHelp {};
struct ShowVersion {};
struct UsageMistake {
  std::string message;  // names the option and what is allowed
};
using ProgramOptions = std::variant<RunWindow, ShowHelp, ShowVersion, UsageMistake>;

// `arguments` without the program's own name. The first option that is not allowed decides, then help, then
// version.
ProgramOptions programOptions(const std::vector<std::string_view>& arguments);

std::string programHelp();

}  // namespace zpk
