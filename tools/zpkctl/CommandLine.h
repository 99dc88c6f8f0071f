#pragma once

#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace zpk::ctl {

enum class Verb { backup, status, list, verify, stop };

// What the program was asked to do on its command line.
struct RunCommand {
  Verb verb = Verb::status;
  bool sessionBus = false;  // the helper is looked for on the session bus; the system bus otherwise
  bool json = false;        // for `status`, `list` and `verify`
  bool verbose = false;     // the link's log goes to standard error
};
struct ShowHelp {};
struct ShowVersion {};
struct UsageMistake {
  std::string message;  // names the word and what is allowed
};
using CommandLine = std::variant<RunCommand, ShowHelp, ShowVersion, UsageMistake>;

// `arguments` without the program's own name. Options may stand before and after the command. The first word that
// is not allowed decides, then help, then version.
CommandLine parseCommandLine(const std::vector<std::string_view>& arguments);

std::string helpText();

}  // namespace zpk::ctl
