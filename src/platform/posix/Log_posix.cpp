#include "platform/posix/Log_posix.h"

#include <unistd.h>

#include <cstdint>

#include "platform/posix/FileDescriptor.h"

namespace zpk {
namespace {

constexpr std::size_t kLongestLine = 8192;

struct Character {
  std::uint32_t number = 0;
  std::size_t length = 0;  // bytes; 0 when the text does not begin with UTF-8
};

// The first character of a text that is not empty. Overlong forms, surrogates and numbers beyond Unicode are no
// UTF-8.
Character firstCharacter(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
  const std::uint32_t lead = byte(0);
  if (lead < 0x80) return {lead, 1};
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return {};
  std::uint32_t number = lead & (0x7Fu >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0u) != 0x80u) return {};
    number = (number << 6) | (byte(i) & 0x3Fu);
  }
  const bool overlong = (length == 3 && number < 0x800) || (length == 4 && number < 0x10000);
  if (overlong || number > 0x10FFFF || (number >= 0xD800 && number <= 0xDFFF)) return {};
  return {number, length};
}

// C1 controls, line and paragraph separators, and the marks, embeddings and isolates of bidirectional text.
bool steers(std::uint32_t c) {
  return (c >= 0x80 && c <= 0x9F) || c == 0x61C || c == 0x200E || c == 0x200F || (c >= 0x2028 && c <= 0x202E) ||
         (c >= 0x2066 && c <= 0x2069);
}

// Upper-case hexadecimal digits, at least `width` of them.
std::string hexadecimal(std::uint32_t number, std::size_t width) {
  std::string digits;
  for (; number != 0 || digits.size() < width; number >>= 4)
    digits.insert(digits.begin(), "0123456789ABCDEF"[number & 0xFu]);
  return digits;
}

// U+2400 and on are the pictures of the control characters, in their order; all of them begin with E2 90.
std::string symbolOfControl(std::uint32_t c) {
  return {'\xE2', '\x90', static_cast<char>(0x80 + (c == 0x7F ? 0x21 : c))};
}

std::string shown(std::string_view text, const Character& character) {
  const std::uint32_t c = character.number;
  if (character.length == 0) return "<" + hexadecimal(static_cast<std::uint8_t>(text[0]), 2) + ">";
  if (c < 0x20 || c == 0x7F) return symbolOfControl(c);
  if (steers(c)) return "<U+" + hexadecimal(c, 4) + ">";
  return std::string(text.substr(0, character.length));
}

}  // namespace

std::string visibleLine(std::string_view text) {
  constexpr std::string_view kCut = "…";
  while (text.ends_with('\n')) text.remove_suffix(1);
  std::string line;
  std::size_t cutAt = 0;  // where the line can end so that the mark still fits
  while (!text.empty()) {
    const Character character = firstCharacter(text);
    line += shown(text, character);
    text.remove_prefix(character.length == 0 ? 1 : character.length);
    if (line.size() + kCut.size() <= kLongestLine) cutAt = line.size();
    if (line.size() > kLongestLine) return line.substr(0, cutAt).append(kCut);
  }
  return line;
}

PosixLog::PosixLog(std::string_view program, int descriptor)
    : _head(std::string(program) + "[" + std::to_string(::getpid()) + "]: "), _descriptor(descriptor) {}

void PosixLog::line(std::string_view text) {
  const std::string whole = _head + visibleLine(text) + "\n";
  std::string_view left = whole;
  while (!left.empty()) {
    const ssize_t written = uninterrupted([&] { return ::write(_descriptor, left.data(), left.size()); });
    if (written <= 0) return;
    left.remove_prefix(static_cast<std::size_t>(written));
  }
}

}  // namespace zpk
