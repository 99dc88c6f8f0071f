#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <vector>

#include "base/PropertyListReading.h"

namespace zpk {

namespace {

constexpr std::string_view kProlog =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";
// A line of base64 with its indentation, a tab counted as eight columns, but never less than kLeastDataColumns of
// it.
constexpr std::size_t kColumns = 76;
constexpr std::size_t kLeastDataColumns = 16;

bool isXMLText(std::string_view text) {
  if (plist::invalidUTF8(text)) return false;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const auto byte = static_cast<std::uint8_t>(text[at]);
    if (byte < 0x20 && !plist::isXMLCharacter(byte)) return false;
    if (byte == 0xEF && (text.substr(at, 3) == "\xEF\xBF\xBE" || text.substr(at, 3) == "\xEF\xBF\xBF"))
      return false;
  }
  return true;
}

std::string realText(double number) {
  if (std::isnan(number)) return "nan";
  if (std::isinf(number)) return number < 0 ? "-infinity" : "+infinity";
  std::array<char, 32> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
  return std::string(digits.data(), end);
}

// Nothing for a date that the form has no year for.
std::optional<std::string> dateText(Date date) {
  using namespace std::chrono;
  constexpr double kFirst = static_cast<double>(sys_days(year(1) / 1 / 1).time_since_epoch().count()) * 86400;
  constexpr double kEnd = static_cast<double>(sys_days(year(10000) / 1 / 1).time_since_epoch().count()) * 86400;
  if (!(date.secondsSince1970 >= kFirst && date.secondsSince1970 < kEnd)) return std::nullopt;
  const sys_seconds time(seconds(static_cast<std::int64_t>(std::floor(date.secondsSince1970))));
  const auto midnight = floor<days>(time);
  const year_month_day day(midnight);
  const hh_mm_ss clock(time - midnight);
  const auto padded = [](auto number, std::size_t width) {
    const std::string text = std::to_string(number);
    return std::string(width - std::min(width, text.size()), '0') + text;
  };
  return padded(static_cast<int>(day.year()), 4) + "-" + padded(static_cast<unsigned>(day.month()), 2) + "-" +
         padded(static_cast<unsigned>(day.day()), 2) + "T" + padded(clock.hours().count(), 2) + ":" +
         padded(clock.minutes().count(), 2) + ":" + padded(clock.seconds().count(), 2) + "Z";
}

std::string base64(std::span<const std::uint8_t> bytes) {
  static constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    const std::size_t count = std::min<std::size_t>(3, bytes.size() - at);
    std::uint32_t group = 0;
    for (std::size_t i = 0; i < 3; ++i) group = group << 8 | (i < count ? bytes[at + i] : std::uint32_t{0});
    for (std::size_t i = 0; i < 4; ++i) text += i <= count ? kDigits[group >> (18 - 6 * i) & 63] : '=';
  }
  return text;
}

class XMLWriter {
 public:
  explicit XMLWriter(std::string& out) : _out(out) {}

  const PropertyListWriteError& error() const { return _error; }

  bool value(const Value& value) {
    if (value.isNull()) return fail("nothing has no form in a property list");
    if (value.isRecord()) return fail("a record has no form in a property list");
    if (value.isBoolean()) return line(value.boolValue() ? "<true/>" : "<false/>");
    if (value.isSigned()) return line("<integer>" + std::to_string(value.integerValue()) + "</integer>");
    if (value.isUnsigned()) return line("<integer>" + std::to_string(value.unsignedIntegerValue()) + "</integer>");
    if (value.isReal()) return line("<real>" + realText(value.doubleValue()) + "</real>");
    if (const Date* date = value.date()) return this->date(*date);
    if (const std::string* text = value.text()) return element("string", *text);
    if (const ByteBlock* bytes = value.bytes()) return data(std::span(bytes->data(), bytes->size()));
    if (const Array* array = value.array()) return this->array(*array);
    return dictionary(*value.dictionary());
  }

 private:
  bool fail(std::string reason) {
    _error.reason = std::move(reason);
    for (const std::string& step : _path) _error.keyPath += (_error.keyPath.empty() ? "" : ".") + step;
    return false;
  }

  bool line(std::string_view text) {
    _out.append(_path.size(), '\t');
    _out += text;
    _out += '\n';
    return true;
  }

  bool element(std::string_view name, std::string_view text) {
    if (!isXMLText(text)) return fail("a text with characters that XML cannot hold");
    _out.append(_path.size(), '\t');
    _out.append("<").append(name).append(">");
    for (const char c : text) escaped(c);
    _out.append("</").append(name).append(">\n");
    return true;
  }

  // A carriage return as it stands would be read as a line feed.
  void escaped(char c) {
    switch (c) {
      case '<':
        _out += "&lt;";
        break;
      case '>':
        _out += "&gt;";
        break;
      case '&':
        _out += "&amp;";
        break;
      case '\r':
        _out += "&#13;";
        break;
      default:
        _out += c;
    }
  }

  bool date(Date date) {
    const auto text = dateText(date);
    return text ? line("<date>" + *text + "</date>") : fail("a date outside the years 1 to 9999");
  }

  bool data(std::span<const std::uint8_t> bytes) {
    line("<data>");
    const std::size_t indentation = 8 * _path.size();
    const std::size_t columns = std::max(kLeastDataColumns, kColumns - std::min(kColumns, indentation));
    const std::size_t perLine = columns / 4 * 3;
    for (std::size_t at = 0; at < bytes.size(); at += perLine) {
      line(base64(bytes.subspan(at, std::min(perLine, bytes.size() - at))));
    }
    return line("</data>");
  }

  bool array(const Array& array) {
    if (_path.size() >= PropertyListLimits::kDepth) return fail("nested too deeply");
    if (array.empty()) return line("<array/>");
    line("<array>");
    for (std::size_t i = 0; i < array.size(); ++i) {
      _path.push_back(std::to_string(i));
      if (!value(array[i])) return false;
      _path.pop_back();
    }
    return line("</array>");
  }

  bool dictionary(const Dictionary& dictionary) {
    if (_path.size() >= PropertyListLimits::kDepth) return fail("nested too deeply");
    if (dictionary.empty()) return line("<dict/>");
    line("<dict>");
    for (const auto& [key, entry] : dictionary) {
      _path.push_back(key);
      if (!element("key", key) || !value(entry)) return false;
      _path.pop_back();
    }
    return line("</dict>");
  }

  std::string& _out;
  // The keys and indexes on the way to the value that is being written; as many as it is indented.
  std::vector<std::string> _path;
  PropertyListWriteError _error;
};

}  // namespace

Expected<Bytes, PropertyListWriteError> writeXMLPropertyList(const Value& value) {
  std::string text(kProlog);
  XMLWriter writer(text);
  if (!writer.value(value)) return writer.error();
  text += "</plist>\n";
  return Bytes(text.begin(), text.end());
}

}  // namespace zpk
