#include "helper/service/model/PointLabel.h"

#include <cstdint>
#include <string_view>

namespace zpk {
namespace {

// The lead bytes of UTF-8: how many bytes follow one, and the smallest character that is written in so many.
struct LeadByte {
  unsigned mask;
  unsigned value;
  std::size_t following;
  std::uint32_t smallest;
};
constexpr LeadByte leadBytes[] = {
    {0x80, 0x00, 0, 0}, {0xE0, 0xC0, 1, 0x80}, {0xF0, 0xE0, 2, 0x800}, {0xF8, 0xF0, 3, 0x10000}};

// Takes the first character from `text`; nothing when it is not one.
std::optional<std::uint32_t> takeCharacter(std::string_view& text) {
  const auto byteAt = [&text](std::size_t i) { return static_cast<unsigned>(static_cast<unsigned char>(text[i])); };
  for (const LeadByte& lead : leadBytes) {
    if ((byteAt(0) & lead.mask) != lead.value) continue;
    if (text.size() <= lead.following) return std::nullopt;
    std::uint32_t character = byteAt(0) & ~lead.mask;
    for (std::size_t i = 1; i <= lead.following; ++i) {
      if ((byteAt(i) & 0xC0U) != 0x80U) return std::nullopt;
      character = character << 6U | (byteAt(i) & 0x3FU);
    }
    const bool isSurrogate = character >= 0xD800 && character <= 0xDFFF;
    if (character < lead.smallest || character > 0x10FFFF || isSurrogate) return std::nullopt;
    text.remove_prefix(lead.following + 1);
    return character;
  }
  return std::nullopt;
}

bool endsOrControlsALine(std::uint32_t character) {
  return character < 0x20 || (character >= 0x7F && character <= 0x9F) || character == 0x2028 || character == 0x2029;
}

}  // namespace

std::optional<std::string> whyNoLabel(const std::string& text) {
  std::string_view rest = text;
  std::size_t count = 0;
  while (!rest.empty()) {
    const std::optional<std::uint32_t> character = takeCharacter(rest);
    if (!character) return "The label is not valid text.";
    if (endsOrControlsALine(*character)) return "A label is one line of text. Remove line breaks and tabs.";
    if (++count > kLongestLabel) {
      return "The label is too long. Use at most " + std::to_string(kLongestLabel) + " characters.";
    }
  }
  return std::nullopt;
}

}  // namespace zpk
