#include <cstdint>
#include <cstring>

#include "platform/linux/wire/WireForm.h"

namespace zpk {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

// How many bytes at the start of `text` are ASCII other than NUL; looks at eight at a time.
std::size_t plainPrefix(std::string_view text) {
  constexpr std::uint64_t kOnes = 0x0101010101010101;
  constexpr std::uint64_t kHighBits = 0x8080808080808080;
  std::size_t at = 0;
  for (; at + 8 <= text.size(); at += 8) {
    std::uint64_t word = 0;
    std::memcpy(&word, text.data() + at, 8);
    if (((word | (word - kOnes)) & kHighBits) != 0) break;
  }
  while (at < text.size() && text[at] > 0 && static_cast<unsigned char>(text[at]) < 0x80) ++at;
  return at;
}

bool isTaken(std::uint32_t codePoint) {
  const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
  const bool noncharacter = (codePoint >= 0xFDD0 && codePoint <= 0xFDEF) || (codePoint & 0xFFFE) == 0xFFFE;
  return codePoint != 0 && codePoint <= 0x10FFFF && !surrogate && !noncharacter;
}

// The length of the well-formed sequence at the start of `text` (not empty); 0 when there is none that is taken.
std::size_t sequenceLength(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<std::uint32_t>(static_cast<unsigned char>(text[i])); };
  const std::uint32_t lead = byte(0);
  if (lead < 0x80) return lead != 0 ? 1 : 0;
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return 0;
  std::uint32_t codePoint = lead & (0xFFU >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
    codePoint = codePoint << 6 | (byte(i) & 0x3F);
  }
  constexpr std::uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  return codePoint >= kSmallest[length] && isTaken(codePoint) ? length : 0;
}

// The length of the longest prefix that can be sent as it is.
std::size_t sendablePrefix(std::string_view text) {
  std::size_t at = 0;
  while (true) {
    at += plainPrefix(text.substr(at));
    if (at == text.size()) return at;
    const std::size_t length = sequenceLength(text.substr(at));
    if (length == 0) return at;
    at += length;
  }
}

}  // namespace

std::string_view sendableText(std::string_view text, std::string& scratch) {
  std::size_t good = sendablePrefix(text);
  if (good == text.size()) return text;
  scratch.clear();
  scratch.reserve(text.size() + 2 * kReplacement.size());
  std::string_view rest = text;
  while (true) {
    scratch += rest.substr(0, good);
    rest.remove_prefix(good);
    if (rest.empty()) return scratch;
    scratch += kReplacement;
    rest.remove_prefix(1);
    good = sendablePrefix(rest);
  }
}

}  // namespace zpk
