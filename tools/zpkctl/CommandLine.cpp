#include "tools/zpkctl/CommandLine.h"

#include <algorithm>
#include <array>
#include <optional>

namespace zpk::ctl {
namespace {

struct VerbRow {
  std::string_view name;
  std::string_view meaning;
  Verb verb;
  bool takesJson;
};

constexpr std::array kVerbs{
    VerbRow{"backup", "back up now, and wait until that is done", Verb::backup, false},
    VerbRow{"status", "what is backed up where, and what is being done", Verb::status, true},
    VerbRow{"list", "the backup points, oldest first, and when each was last checked", Verb::list, true},
    VerbRow{"verify", "read all backup points back; tell what is damaged and what they lack", Verb::verify, true},
    VerbRow{"stop", "stop what is being done, and wait until it has stopped", Verb::stop, false},
};

struct OptionRow {
  std::string_view name;
  std::string_view meaning;
};

constexpr std::array kOptions{
    OptionRow{"--json", "status, list, verify: as JSON, for programs"},
    OptionRow{"--session", "look for the backup helper on the session bus instead of the system bus"},
    OptionRow{"--verbose", "tell on standard error how the helper is reached"},
    OptionRow{"--help", "show this text"},
    OptionRow{"--version", "show the version"},
};

template <class Rows>
std::string namesOf(const Rows& rows) {
  std::string names;
  for (const auto& row : rows) names += (names.empty() ? "" : ", ") + std::string(row.name);
  return names;
}

bool isOption(std::string_view argument) {
  return std::any_of(kOptions.begin(), kOptions.end(), [&](const OptionRow& row) { return row.name == argument; });
}

// The first word that is not allowed where it stands.
std::optional<UsageMistake> mistakeIn(const std::vector<std::string_view>& arguments) {
  bool verbSeen = false;
  for (const std::string_view argument : arguments) {
    if (argument.starts_with("-")) {
      if (isOption(argument)) continue;
      return UsageMistake{"unknown option '" + std::string(argument) + "' (allowed: " + namesOf(kOptions) + ")"};
    }
    const bool known =
        std::any_of(kVerbs.begin(), kVerbs.end(), [&](const auto& row) { return row.name == argument; });
    if (!known) {
      return UsageMistake{"unknown command '" + std::string(argument) + "' (allowed: " + namesOf(kVerbs) + ")"};
    }
    if (verbSeen) return UsageMistake{"one command at a time; '" + std::string(argument) + "' is a second one"};
    verbSeen = true;
  }
  return std::nullopt;
}

template <class Rows>
std::string tableOf(const Rows& rows) {
  constexpr std::size_t kColumn = 13;
  std::string text;
  for (const auto& row : rows) {
    std::string name(row.name);
    name.resize(kColumn, ' ');
    text += "  " + name + std::string(row.meaning) + "\n";
  }
  return text;
}

}  // namespace

CommandLine parseCommandLine(const std::vector<std::string_view>& arguments) {
  if (auto mistake = mistakeIn(arguments)) return *mistake;
  const auto given = [&](std::string_view name) {
    return std::find(arguments.begin(), arguments.end(), name) != arguments.end();
  };
  if (given("--help")) return ShowHelp{};
  if (given("--version")) return ShowVersion{};
  const auto verb = std::find_if(kVerbs.begin(), kVerbs.end(), [&](const auto& row) { return given(row.name); });
  if (verb == kVerbs.end()) return UsageMistake{"a command is missing (allowed: " + namesOf(kVerbs) + ")"};
  if (given("--json") && !verb->takesJson) {
    return UsageMistake{"'" + std::string(verb->name) + "' knows no --json"};
  }
  return RunCommand{verb->verb, given("--session"), given("--json"), given("--verbose")};
}

std::string helpText() {
  return "Usage: zpkctl [OPTION]… COMMAND\n\nTells the backup helper of ZPK what to do, and shows what it "
         "does.\n\n"
         "Commands:\n" +
         tableOf(kVerbs) + "\nOptions:\n" + tableOf(kOptions) +
         "\nExit status: 0 done, 1 not done (standard error says why), 2 a mistake on the command line,\n"
         "3 backed up but for what cannot be read, 128 and the signal's number when it was interrupted.\n"
         "An interrupted backup goes on without zpkctl.\n";
}

}  // namespace zpk::ctl
