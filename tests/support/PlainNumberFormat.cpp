#include "support/PlainNumberFormat.h"

#include <charconv>
#include <cmath>
#include <regex>

namespace zpk {
namespace {

template <class Number>
std::optional<Value> readAs(const std::string& digits) {
  Number number{};
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
  return Value(number);
}

// "1234567" to "1,234,567".
std::string grouped(std::string digits) {
  for (std::size_t left = digits.size(); left > 3; left -= 3) digits.insert(left - 3, 1, ',');
  return digits;
}

std::string thousandths(std::uint64_t count) {
  std::string digits = std::to_string(1000 + count).substr(1);
  digits.erase(digits.find_last_not_of('0') + 1);
  return digits.empty() ? "" : "." + digits;
}

}  // namespace

std::optional<Value> PlainNumberFormat::numberFromString(std::string_view text) const {
  static const std::regex number(R"(([-+]?)([0-9]+|[0-9]{1,3}(,[0-9]{3})+)?(\.[0-9]*)?)");
  std::cmatch parts;
  if (text.size() > kLongestNumber || !std::regex_match(text.data(), text.data() + text.size(), parts, number)) {
    return std::nullopt;
  }
  std::string digits = parts[1] == "-" ? "-" : "";
  for (const char c : parts[2].str() + parts[4].str()) {
    if (c != ',') digits += c;
  }
  for (const auto& read : {readAs<long long>, readAs<unsigned long long>, readAs<double>}) {
    if (auto value = read(digits); value && std::isfinite(value->doubleValue())) return value;
  }
  return std::nullopt;
}

std::string PlainNumberFormat::stringFromNumber(const Value& number) const {
  if (!number.isNumber() || !std::isfinite(number.doubleValue())) return {};
  if (number.isUnsigned()) return grouped(std::to_string(number.unsignedIntegerValue()));
  const std::string sign = number.doubleValue() < 0 ? "-" : "";
  if (!number.isReal()) {
    const std::int64_t whole = number.integerValue();
    const auto magnitude = static_cast<std::uint64_t>(whole);
    return sign + grouped(std::to_string(whole < 0 ? 0 - magnitude : magnitude));
  }
  const double all = std::nearbyint(std::abs(number.doubleValue()) * 1000);
  const auto count = static_cast<std::uint64_t>(all);
  return sign + grouped(std::to_string(count / 1000)) + thousandths(count % 1000);
}

}  // namespace zpk
