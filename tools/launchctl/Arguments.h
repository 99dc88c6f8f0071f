#pragma once

#include <optional>
#include <string>
#include <vector>

namespace zpk {

// What the command line asks for.
struct LauncherCommand {
  enum class Verb { list, load, unload, help, version };
  Verb verb = Verb::help;
  bool isPersistent = false;           // load and unload: -w
  bool isPropertyList = false;         // list: -x
  std::vector<std::string> arguments;  // the label to list, or the job files

  bool operator==(const LauncherCommand&) const = default;
};

// Nothing when the command line makes no sense.
std::optional<LauncherCommand> parseLauncherCommand(const std::vector<std::string>& arguments);

// How the program is used, ending in a line end.
std::string launcherHelp();

}  // namespace zpk
