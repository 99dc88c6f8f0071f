#include "app/ProgramOptions.h"

#include <algorithm>
#include <array>
#include <utility>

namespace zpk {
namespace {

struct OptionRow {
  std::string_view name;
  std::string_view value;  // what it takes; empty for an option that takes none
  std::string_view meaning;
};

constexpr OptionRow kSession{"--session", "", "look for the helper on the session bus instead of the system bus"};
constexpr OptionRow kLanguage{"--language", "LANGUAGE",
                              "speak this language (en, de, he) instead of the desktop's"};
constexpr OptionRow kLauncher{"--launcher", "PATH",
                              "switch schedules with this program instead of the installed one"};
constexpr OptionRow kHelp{"--help", "", "show this text"};
constexpr OptionRow kVersion{"--version", "", "show the version"};
constexpr std::array kOptions{kSession, kLanguage, kLauncher, kHelp, kVersion};

constexpr std::size_t kLongestLanguage = 16;

std::string usage(const OptionRow& row) {
  return row.value.empty() ? std::string(row.name) : std::string(row.name) + "=" + std::string(row.value);
}

UsageMistake unknownOption(std::string_view argument) {
  std::string message = "unknown option '" + std::string(argument) + "' (allowed:";
  for (const OptionRow& row : kOptions) message += (&row == kOptions.data() ? " " : ", ") + usage(row);
  return {message + ")"};
}

// A language as the desktop names it: "de", "de_AT", "pt-BR". Nothing else becomes part of a file's name.
bool isLanguage(std::string_view text) {
  const auto fits = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '-'; };
  return !text.empty() && text.size() <= kLongestLanguage && std::all_of(text.begin(), text.end(), fits);
}

// Takes the arguments one by one. An option's value is behind its "=" or the next argument.
class Reader {
 public:
  explicit Reader(const std::vector<std::string_view>& arguments) : _arguments(arguments) {}

  ProgramOptions read() {
    while (_next < _arguments.size()) {
      if (auto mistake = readOption()) return *std::move(mistake);
    }
    if (_helpAsked) return ShowHelp{};
    if (_versionAsked) return ShowVersion{};
    return std::move(_window);
  }

 private:
  std::optional<UsageMistake> readOption() {
    const std::string_view argument = _arguments[_next++];
    const auto sign = std::min(argument.find('='), argument.size());
    const std::string_view name = argument.substr(0, sign);
    const auto* row = std::find_if(kOptions.begin(), kOptions.end(), [&](const auto& o) { return o.name == name; });
    if (row == kOptions.end()) return unknownOption(argument);
    const bool hasValue = sign < argument.size();
    if (row->value.empty()) return hasValue ? std::optional(unknownOption(argument)) : takeFlag(name);
    if (!hasValue && _next == _arguments.size()) return UsageMistake{usage(*row) + " lacks its value"};
    return takeValue(*row, hasValue ? argument.substr(sign + 1) : _arguments[_next++]);
  }

  std::optional<UsageMistake> takeFlag(std::string_view name) {
    if (name == kSession.name) _window.sessionBus = true;
    if (name == kHelp.name) _helpAsked = true;
    if (name == kVersion.name) _versionAsked = true;
    return std::nullopt;
  }

  std::optional<UsageMistake> takeValue(const OptionRow& row, std::string_view value) {
    if (row.name == kLanguage.name) {
      if (!isLanguage(value))
        return UsageMistake{"'" + std::string(value) + "' is no language (" + usage(row) + ")"};
      _window.language = value;
    } else {
      if (!value.starts_with('/')) {
        return UsageMistake{"'" + std::string(value) + "' is no absolute path (" + usage(row) + ")"};
      }
      _window.launcher = value;
    }
    return std::nullopt;
  }

  const std::vector<std::string_view>& _arguments;
  std::size_t _next = 0;
  RunWindow _window;
  bool _helpAsked = false;
  bool _versionAsked = false;
};

}  // namespace

ProgramOptions programOptions(const std::vector<std::string_view>& arguments) {
  return Reader(arguments).read();
}

std::string programHelp() {
  constexpr std::size_t kColumn = 22;
  std::string text = "Usage: zpk [OPTION]…\n\nBacks up the Windows side of a disk and restores it.\n\n";
  for (const OptionRow& row : kOptions) {
    std::string name = usage(row);
    name.resize(kColumn, ' ');
    text += "  " + name + std::string(row.meaning) + "\n";
  }
  return text;
}

}  // namespace zpk
