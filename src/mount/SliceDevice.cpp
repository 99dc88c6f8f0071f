#include "mount/SliceDevice.h"

#include <array>

namespace zpk {
namespace {

constexpr std::string_view kBlanks = " \t\n\v\f\r";
constexpr std::string_view kDigits = "0123456789";
// Every character that ends a line, in UTF-8.
constexpr std::array<std::string_view, 7> kLineBreaks{"\n",       "\v",           "\f",          "\r",
                                                      "\xC2\x85", "\xE2\x80\xA8", "\xE2\x80\xA9"};

bool take(std::string_view& text, std::string_view prefix) {
  if (!text.starts_with(prefix)) return false;
  text.remove_prefix(prefix.size());
  return true;
}

void takeAll(std::string_view& text, std::string_view characters) {
  const auto end = text.find_first_not_of(characters);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end);
}

bool takeNumber(std::string_view& text) {
  takeAll(text, kBlanks);
  if (!take(text, "-")) take(text, "+");
  const std::size_t before = text.size();
  takeAll(text, kDigits);
  return text.size() < before;
}

std::string_view withoutLineBreaks(std::string_view text) {
  for (bool changed = true; changed;) {
    changed = false;
    for (const std::string_view lineBreak : kLineBreaks) {
      if (take(text, lineBreak)) changed = true;
      if (!text.ends_with(lineBreak)) continue;
      text.remove_suffix(lineBreak.size());
      changed = true;
    }
  }
  return text;
}

}  // namespace

std::optional<std::string> sliceDevice(std::string_view line) {
  std::string_view rest = line;
  if (!take(rest, "/dev/disk") || !takeNumber(rest) || !take(rest, "s") || !takeNumber(rest)) return std::nullopt;
  return std::string(withoutLineBreaks(line));
}

}  // namespace zpk
