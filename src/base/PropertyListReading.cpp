#include "base/PropertyListReading.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <limits>
#include <locale>
#include <sstream>

namespace zpk::plist {

namespace {

// The number that `length` digits from `start` on make.
int field(std::string_view text, std::size_t start, std::size_t length) {
  int number = 0;
  for (const char c : text.substr(start, length)) number = number * 10 + (c - '0');
  return number;
}

// Whether `text` is `pattern`, in which a '0' stands for any digit.
bool matches(std::string_view text, std::string_view pattern) {
  return std::equal(text.begin(), text.end(), pattern.begin(), pattern.end(),
                    [](char c, char p) { return p == '0' ? c >= '0' && c <= '9' : c == p; });
}

// Of "0000-00-00?00:00:00", which both date forms begin with.
std::optional<double> secondsOf(std::string_view text) {
  using namespace std::chrono;
  const year_month_day day(year(field(text, 0, 4)), month(static_cast<unsigned>(field(text, 5, 2))),
                           std::chrono::day(static_cast<unsigned>(field(text, 8, 2))));
  const int hour = field(text, 11, 2);
  const int minute = field(text, 14, 2);
  const int second = field(text, 17, 2);
  if (!day.ok() || day.year() < year(1) || hour > 23 || minute > 59 || second > 59) return std::nullopt;
  const auto days = sys_days(day).time_since_epoch().count();
  return static_cast<double>(days) * 86400.0 + hour * 3600.0 + minute * 60.0 + second;
}

int base64Digit(char c) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  if (c == '+') return 62;
  return c == '/' ? 63 : -1;
}

// How many bytes the sequence at the start of `text` has; 0 when it is not well formed.
std::size_t sequenceLength(std::string_view text) {
  const auto byte = [text](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
  const std::uint8_t lead = byte(0);
  if (lead < 0x80) return 1;
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
  }
  // Longer than needed, a surrogate, or beyond U+10FFFF.
  if ((lead == 0xE0 && byte(1) < 0xA0) || (lead == 0xED && byte(1) > 0x9F)) return 0;
  if ((lead == 0xF0 && byte(1) < 0x90) || (lead == 0xF4 && byte(1) > 0x8F)) return 0;
  return length;
}

bool equalsWord(std::string_view text, std::string_view word) {
  return std::equal(text.begin(), text.end(), word.begin(), word.end(),
                    [](char c, char w) { return (c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c) == w; });
}

std::optional<double> unsignedReal(std::string_view text) {
  if (equalsWord(text, "inf") || equalsWord(text, "infinity")) return std::numeric_limits<double>::infinity();
  if (equalsWord(text, "nan")) return std::numeric_limits<double>::quiet_NaN();
  const bool begun = !text.empty() && text.front() != '-' && text.front() != '+';
  if (!begun || text.find_first_not_of("0123456789+-.eE") != std::string_view::npos) return std::nullopt;
  // Not std::from_chars, which not every standard library has for reals, nor strtod, which asks for the user's
  // decimal point.
  std::istringstream stream{std::string(text)};
  stream.imbue(std::locale::classic());
  double number = 0;
  if (!(stream >> number) || stream.peek() != std::istringstream::traits_type::eof()) return std::nullopt;
  return number;
}

}  // namespace

std::nullopt_t Reading::fail(std::size_t offset, std::string reason) {
  if (!_failed) _error = {.reason = std::move(reason), .offset = offset};
  _failed = true;
  return std::nullopt;
}

bool Reading::payNodes(std::size_t offset, std::size_t count) {
  if (count <= _limits.nodes - _nodes) {
    _nodes += count;
    return true;
  }
  fail(offset, "more than " + std::to_string(_limits.nodes) + " values and keys");
  return false;
}

bool Reading::payText(std::size_t offset, std::size_t bytes) {
  if (bytes <= _limits.text) return payContent(offset, bytes);
  fail(offset, "a text of more than " + std::to_string(_limits.text) + " bytes");
  return false;
}

bool Reading::payData(std::size_t offset, std::size_t bytes) {
  return payContent(offset, bytes);
}

bool Reading::payContent(std::size_t offset, std::size_t bytes) {
  if (bytes <= _limits.content - _content) {
    _content += bytes;
    return true;
  }
  fail(offset, "more than " + std::to_string(_limits.content) + " bytes of texts and data");
  return false;
}

bool Reading::enter(std::size_t offset) {
  if (_depth < _limits.depth) {
    ++_depth;
    return true;
  }
  fail(offset, "nested deeper than " + std::to_string(_limits.depth) + " levels");
  return false;
}

bool Cursor::skip(std::string_view prefix) {
  if (!startsWith(prefix)) return false;
  _at += prefix.size();
  return true;
}

void Cursor::skipSpaces() {
  takeWhile(isSpace);
}

std::optional<std::string_view> Cursor::takeUntil(std::string_view mark) {
  const std::size_t end = _text.find(mark, _at);
  if (end == std::string_view::npos) return std::nullopt;
  const std::string_view taken = _text.substr(_at, end - _at);
  _at = end + mark.size();
  return taken;
}

bool isSpace(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && isSpace(text.back())) text.remove_suffix(1);
  return text;
}

std::optional<std::size_t> invalidUTF8(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = sequenceLength(text.substr(at));
    if (length == 0) return at;
    at += length;
  }
  return std::nullopt;
}

bool isCharacter(std::uint32_t codePoint) {
  return codePoint <= 0x10FFFF && (codePoint < 0xD800 || codePoint > 0xDFFF);
}

bool isXMLCharacter(std::uint32_t codePoint) {
  if (codePoint < 0x20) return codePoint == '\t' || codePoint == '\n' || codePoint == '\r';
  return isCharacter(codePoint) && codePoint != 0xFFFE && codePoint != 0xFFFF;
}

void appendUTF8(std::string& text, std::uint32_t codePoint) {
  const auto append = [&text](std::uint32_t byte) { text += static_cast<char>(byte); };
  if (codePoint < 0x80) return append(codePoint);
  if (codePoint < 0x800) {
    append(0xC0 | codePoint >> 6);
  } else {
    if (codePoint < 0x10000) {
      append(0xE0 | codePoint >> 12);
    } else {
      append(0xF0 | codePoint >> 18);
      append(0x80 | (codePoint >> 12 & 0x3F));
    }
    append(0x80 | (codePoint >> 6 & 0x3F));
  }
  append(0x80 | (codePoint & 0x3F));
}

std::optional<std::uint64_t> parsedDigits(std::string_view text, int base) {
  std::uint64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number, base);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

std::optional<Value> parsedInteger(std::string_view text) {
  text = trimmed(text);
  const bool negative = !text.empty() && text.front() == '-';
  if (negative || (!text.empty() && text.front() == '+')) text.remove_prefix(1);
  const bool hexadecimal = text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X";
  const auto number = hexadecimal ? parsedDigits(text.substr(2), 16) : parsedDigits(text, 10);
  if (!number) return std::nullopt;
  constexpr std::uint64_t kSignedMax = std::numeric_limits<std::int64_t>::max();
  if (negative) {
    if (*number > kSignedMax + 1) return std::nullopt;
    return Value(static_cast<std::int64_t>(0 - *number));
  }
  return *number <= kSignedMax ? Value(static_cast<std::int64_t>(*number)) : Value(*number);
}

std::optional<double> parsedReal(std::string_view text) {
  text = trimmed(text);
  const bool negative = !text.empty() && text.front() == '-';
  if (negative || (!text.empty() && text.front() == '+')) text.remove_prefix(1);
  const auto number = unsignedReal(text);
  return number && negative ? std::optional(-*number) : number;
}

std::optional<Date> parsedXMLDate(std::string_view text) {
  text = trimmed(text);
  if (!matches(text, "0000-00-00T00:00:00Z")) return std::nullopt;
  const auto seconds = secondsOf(text);
  return seconds ? std::optional(Date{*seconds}) : std::nullopt;
}

std::optional<Date> parsedTextDate(std::string_view text) {
  text = trimmed(text);
  const bool west = matches(text, "0000-00-00 00:00:00 -0000");
  if (!west && !matches(text, "0000-00-00 00:00:00 +0000")) return std::nullopt;
  const auto seconds = secondsOf(text);
  const int hours = field(text, 21, 2);
  const int minutes = field(text, 23, 2);
  if (!seconds || hours > 23 || minutes > 59) return std::nullopt;
  const double offset = hours * 3600.0 + minutes * 60.0;
  return Date{west ? *seconds + offset : *seconds - offset};
}

std::optional<Bytes> parsedBase64(std::string_view text) {
  Bytes bytes;
  bytes.reserve(text.size() / 4 * 3);
  std::uint32_t group = 0;
  std::size_t count = 0;
  std::size_t padding = 0;
  for (const char c : text) {
    if (isSpace(c)) continue;
    const int digit = base64Digit(c);
    if (digit < 0 ? c != '=' : padding > 0) return std::nullopt;
    if (digit < 0) ++padding;
    group = group << 6 | static_cast<std::uint32_t>(digit < 0 ? 0 : digit);
    if (++count % 4 != 0) continue;
    // The count of '=' goes on over all groups, so that a group after a padded one fails here or above.
    if (padding > 2) return std::nullopt;
    for (std::size_t i = 0; i < 3 - padding; ++i) bytes.push_back(static_cast<std::uint8_t>(group >> (16 - 8 * i)));
    group = 0;
  }
  if (count % 4 != 0) return std::nullopt;
  return bytes;
}

}  // namespace zpk::plist
