#include "tools/launchctl/Arguments.h"

#include <algorithm>
#include <utility>

namespace zpk {

namespace {

using Verb = LauncherCommand::Verb;

std::optional<Verb> verbOf(const std::string& word) {
  if (word == "list") return Verb::list;
  if (word == "load") return Verb::load;
  if (word == "unload") return Verb::unload;
  if (word == "help" || word == "--help") return Verb::help;
  if (word == "version" || word == "--version") return Verb::version;
  return std::nullopt;
}

bool makesSense(const LauncherCommand& command) {
  const std::size_t count = command.arguments.size();
  switch (command.verb) {
    case Verb::list:
      return command.isPropertyList ? count == 1 : count <= 1;
    case Verb::load:
    case Verb::unload:
      return count >= 1;
    case Verb::help:
    case Verb::version:
      return count == 0;
  }
  return false;
}

}  // namespace

std::optional<LauncherCommand> parseLauncherCommand(const std::vector<std::string>& arguments) {
  if (arguments.empty()) return std::nullopt;
  const auto verb = verbOf(arguments.front());
  if (!verb) return std::nullopt;
  LauncherCommand command;
  command.verb = *verb;
  auto next = arguments.begin() + 1;
  const auto takes = [&](const char* option, bool& flag) {
    flag = next != arguments.end() && *next == option;
    if (flag) ++next;
  };
  if (*verb == Verb::list) takes("-x", command.isPropertyList);
  if (*verb == Verb::load || *verb == Verb::unload) takes("-w", command.isPersistent);
  if (next != arguments.end() && *next == "--") {
    ++next;
  } else if (next != arguments.end() && next->starts_with('-')) {
    return std::nullopt;
  }
  command.arguments.assign(next, arguments.end());
  const bool hasEmpty = std::any_of(command.arguments.begin(), command.arguments.end(),
                                    [](const std::string& argument) { return argument.empty(); });
  return !hasEmpty && makesSense(command) ? std::optional(std::move(command)) : std::nullopt;
}

std::string launcherHelp() {
  return "Runs the jobs of job files with the service manager of the user.\n"
         "\n"
         "  launchctl load [-w] PLIST...    runs the job from now on; -w enables it for the logins to come\n"
         "  launchctl unload [-w] PLIST...  stops it; -w disables it for the logins to come\n"
         "  launchctl list [LABEL]          the jobs that are loaded, or the one\n"
         "  launchctl list -x LABEL         what is known of a job, as a property list\n"
         "\n"
         "Ends with status 0 when all of it was done, 1 when not, 2 when it was not understood.\n";
}

}  // namespace zpk
