#include "tools/zpkstatusbar/StatusBarOptions.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

namespace zpk {
namespace {

struct OptionRow {
  std::string_view name;  // ends in "=" when a value follows
  std::string_view value;
  std::string_view meaning;
};

constexpr std::string_view kSession = "--session";
constexpr std::string_view kLanguage = "--language=";
constexpr std::string_view kProgram = "--program=";
constexpr std::string_view kPatience = "--patience=";
constexpr std::string_view kHelp = "--help";
constexpr std::string_view kVersion = "--version";

constexpr std::array kOptions{
    OptionRow{kSession, "", "look for the helper on the session bus instead of the system bus"},
    OptionRow{kLanguage, "LANGUAGE", "speak this language (en, de, he) instead of the desktop's"},
    OptionRow{kProgram, "PATH", "what \"Open ZPK\" starts instead of the installed program"},
    OptionRow{kPatience, "SECONDS", "how long to wait for a status bar at log-in (0 to 600; 20 otherwise)"},
    OptionRow{kHelp, "", "show this text"},
    OptionRow{kVersion, "", "show the version"},
};

constexpr int kLongestPatience = 600;
constexpr std::size_t kLongestLanguage = 16;

// A language as the desktop names it. Nothing else becomes part of a file's name.
bool isLanguage(std::string_view text) {
  const auto fits = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '-'; };
  return !text.empty() && text.size() <= kLongestLanguage && std::all_of(text.begin(), text.end(), fits);
}

std::optional<int> patienceOf(std::string_view text) {
  int seconds = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
  const bool whole = error == std::errc() && end == text.data() + text.size();
  if (!whole || seconds < 0 || seconds > kLongestPatience) return std::nullopt;
  return seconds;
}

// Whether the argument was taken.
bool take(RunStatusBar& options, std::string_view argument) {
  const auto valueOf = [&](std::string_view name) -> std::optional<std::string_view> {
    if (!argument.starts_with(name)) return std::nullopt;
    return argument.substr(name.size());
  };
  if (argument == kSession) {
    options.sessionBus = true;
    return true;
  }
  if (const auto language = valueOf(kLanguage)) {
    options.language = *language;
    return isLanguage(*language);
  }
  if (const auto program = valueOf(kProgram)) {
    options.program = *program;
    return program->starts_with("/");
  }
  if (const auto text = valueOf(kPatience)) {
    const auto seconds = patienceOf(*text);
    options.patienceSeconds = seconds.value_or(0);
    return seconds.has_value();
  }
  return argument == kHelp || argument == kVersion;
}

}  // namespace

StatusBarOptions statusBarOptions(const std::vector<std::string_view>& arguments) {
  RunStatusBar options;
  for (const std::string_view argument : arguments) {
    if (take(options, argument)) continue;
    std::string message = "option '" + std::string(argument) + "' is not allowed (allowed:";
    for (const OptionRow& row : kOptions) {
      message += (&row == kOptions.data() ? " " : ", ") + std::string(row.name) + std::string(row.value);
    }
    return StatusBarMistake{message + ")"};
  }
  const auto given = [&](std::string_view name) {
    return std::find(arguments.begin(), arguments.end(), name) != arguments.end();
  };
  if (given(kHelp)) return ShowStatusBarHelp{};
  if (given(kVersion)) return ShowStatusBarVersion{};
  return options;
}

std::string statusBarHelp() {
  constexpr std::size_t kColumn = 22;
  std::string text = "Usage: zpkstatusbar [OPTION]…\n\nShows in the status bar how the backups of ZPK stand.\n\n";
  for (const OptionRow& row : kOptions) {
    std::string name = std::string(row.name) + std::string(row.value);
    name.resize(kColumn, ' ');
    text += "  " + name + std::string(row.meaning) + "\n";
  }
  return text + "\nOn a desktop without a status bar for icons it says so and ends with status 0.\n";
}

}  // namespace zpk
