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
    OptionRow{"--language=LANGUAGE", "speak this language (en, de, he) instead of the desktop's"},
    OptionRow{"--help", "show this text"},
    OptionRow{"--version", "show the version"},
};

constexpr std::string_view kLanguageOption = "--language=";
constexpr std::size_t kLongestLanguage = 16;

// A language as the desktop names it: "de", "de_AT", "pt-BR". Nothing else becomes part of a file's name.
std::optional<std::string> languageOf(std::string_view argument) {
  if (!argument.starts_with(kLanguageOption)) return std::nullopt;
  const std::string_view language = argument.substr(kLanguageOption.size());
  const auto fits = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '-'; };
  const bool whole = std::all_of(language.begin(), language.end(), fits);
  if (language.empty() || language.size() > kLongestLanguage || !whole) return std::nullopt;
  return std::string(language);
}

bool isKnown(std::string_view argument) {
  if (argument.starts_with(kLanguageOption)) return languageOf(argument).has_value();
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
  RunWindow window{.sessionBus = given("--session"), .language = std::nullopt};
  for (const std::string_view argument : arguments) {
    if (auto language = languageOf(argument)) window.language = std::move(language);
  }
  return window;
}

std::string programHelp() {
  constexpr std::size_t kColumn = 22;
  std::string text = "Usage: zpk [OPTION]…\n\nBacks up the Windows side of a disk and restores it.\n\n";
  for (const OptionRow& row : kOptions) {
    std::string name(row.name);
    name.resize(kColumn, ' ');
    text += "  " + name + std::string(row.meaning) + "\n";
  }
  return text;
}

}  // namespace zpk
