#include "tools/launchctl/ExecLine.h"

#include <cstdint>

namespace zpk {

namespace {

constexpr std::string_view kHexDigits = "0123456789abcdef";

void appendEscaped(std::string& line, char character) {
  const auto byte = static_cast<std::uint8_t>(character);
  if (character == '"' || character == '\\') {
    line += '\\';
    line += character;
  } else if (character == '%') {
    line += "%%";
  } else if (byte < 0x20 || byte >= 0x7f) {
    line += "\\x";
    line += kHexDigits[byte >> 4U];
    line += kHexDigits[byte & 0xfU];
  } else {
    line += character;
  }
}

// Reads quoted arguments off the front of a line.
class ExecLineReader {
 public:
  explicit ExecLineReader(std::string_view line) : _rest(line) {}

  bool atEnd() const { return _rest.empty(); }

  bool skip(char character) {
    if (_rest.empty() || _rest.front() != character) return false;
    _rest.remove_prefix(1);
    return true;
  }

  std::optional<std::string> quoted() {
    std::string text;
    if (!skip('"')) return std::nullopt;
    while (!skip('"')) {
      const auto character = one();
      if (!character) return std::nullopt;
      text += *character;
    }
    return text;
  }

 private:
  std::optional<char> one() {
    if (skip('%')) return skip('%') ? std::optional('%') : std::nullopt;
    if (!skip('\\')) return take();
    if (!skip('x')) return take();
    const auto high = digit();
    const auto low = digit();
    return high && low ? std::optional(static_cast<char>(*high * 16 + *low)) : std::nullopt;
  }

  std::optional<char> take() {
    if (_rest.empty()) return std::nullopt;
    const char character = _rest.front();
    _rest.remove_prefix(1);
    return character;
  }

  std::optional<unsigned> digit() {
    const auto character = take();
    const auto value = character ? kHexDigits.find(*character) : std::string_view::npos;
    return value == std::string_view::npos ? std::nullopt : std::optional(static_cast<unsigned>(value));
  }

  std::string_view _rest;
};

}  // namespace

std::string quotedForUnit(std::string_view text) {
  std::string line = "\"";
  for (const char character : text) appendEscaped(line, character);
  return line + '"';
}

std::string execLine(const std::vector<std::string>& arguments) {
  std::string line;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    line += i == 0 ? quotedForUnit(":" + arguments[i]) : " " + quotedForUnit(arguments[i]);
  }
  return line;
}

std::optional<std::vector<std::string>> argumentsOfExecLine(std::string_view line) {
  ExecLineReader reader(line);
  std::vector<std::string> arguments;
  do {
    auto argument = reader.quoted();
    if (!argument) return std::nullopt;
    arguments.push_back(*std::move(argument));
  } while (reader.skip(' '));
  if (!reader.atEnd() || arguments[0].empty() || arguments[0][0] != ':') return std::nullopt;
  arguments[0].erase(0, 1);
  return arguments;
}

}  // namespace zpk
