#include "app/ProgramOptions.h"

#include <algorithm>
#include <array>

namespace zpk {
namespace {

struct OptionRow {
  std::string_view name;
  std::string_view meaning;
};

constexpr std::array kOptions{
    OptionRow{"--session", "look for the helper on the session bus instead of the system bus"},
    OptionRow{"--help", "show this text"},
    OptionRow{"--version", "show the version"},
};

bool isKnown(std::string_view argument) {
  return std::any_of(kOptions.begin(), kOptions.end(), [&](const OptionRow& row) { return row.name == argument; });
}

UsageMistake mistake(std::string_view argument) {
  std::string message = "unknown option '" + std::string(argument) + "' (allowed:";
  for (const OptionRow& row : kOptions) message += (&row == kOptions.data() ? " " : ", ") + std::string(row.name);
  return {message + ")"};
}

}  // namespace

ProgramOptions programOptions(const std::vector<std::string_view>& arguments) {
  const auto given = [&](std::string_view name) {
    return std::find(arguments.begin(), arguments.end(), name) != arguments.end();
  };
  const auto unknown = std::find_if_not(arguments.begin(), arguments.end(), isKnown);
  if (unknown != arguments.end()) return mistake(*unknown);
  if (given("--help")) return ShowHelp{};
  if (given("--version")) return ShowVersion{};
  return RunWindow{.sessionBus = given("--session")};
}

std::string programHelp() {
  constexpr std::size_t kColumn = 14;
  std::string text = "Usage: zpk [OPTION]…\n\nBacks up the Windows side of a disk and restores it.\n\n";
  for (const OptionRow& row : kOptions) {
    std::string name(row.name);
    name.resize(kColumn, ' ');
    text += "  " + name + std::string(row.meaning) + "\n";
  }
  return text;
}

}  // namespace zpk
