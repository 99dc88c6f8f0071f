#include "base/Value.h"

#include <algorithm>
#include <cmath>
#include <compare>
#include <limits>

#include "base/Record.h"

namespace zpk {

namespace {

const Value kNull;

bool keyIsLess(const Dictionary::Entry& entry, std::string_view key) {
  return entry.first < key;
}

// The range check comes first: converting a real that does not fit is undefined.
template <class Integer>
Integer clampedInteger(double value) {
  if (std::isnan(value)) return 0;
  const double low = static_cast<double>(std::numeric_limits<Integer>::min());
  const double high = std::ldexp(1.0, std::numeric_limits<Integer>::digits);
  if (value >= high) return std::numeric_limits<Integer>::max();
  if (value <= low) return std::numeric_limits<Integer>::min();
  return static_cast<Integer>(value);
}

// Numbers are equal when they stand for the same number, which a detour over real would not tell above 2^53.
bool integerEqualsReal(const Value& integer, double real) {
  if (!std::isfinite(real) || std::trunc(real) != real) return false;
  const double limit = std::ldexp(1.0, 63);
  if (integer.isUnsigned()) {
    return real >= 0 && real < 2 * limit && integer.unsignedIntegerValue() == static_cast<std::uint64_t>(real);
  }
  return real >= -limit && real < limit && integer.integerValue() == static_cast<std::int64_t>(real);
}

bool numbersAreEqual(const Value& a, const Value& b) {
  if (a.isReal() && b.isReal()) return a.doubleValue() == b.doubleValue();
  if (a.isReal()) return integerEqualsReal(b, a.doubleValue());
  if (b.isReal()) return integerEqualsReal(a, b.doubleValue());
  if (a.isUnsigned() && !b.isUnsigned())
    return b.integerValue() >= 0 && a.unsignedIntegerValue() == b.unsignedIntegerValue();
  if (b.isUnsigned() && !a.isUnsigned()) return numbersAreEqual(b, a);
  return a.unsignedIntegerValue() == b.unsignedIntegerValue();
}

// The same shared object is equal to itself; no need to walk it.
template <class T>
bool sharedAreEqual(const T& a, const T& b) {
  return a == b || *a == *b;
}

}  // namespace

Dictionary::Dictionary() = default;
Dictionary::Dictionary(const Dictionary&) = default;
Dictionary::Dictionary(Dictionary&&) noexcept = default;
Dictionary& Dictionary::operator=(const Dictionary&) = default;
Dictionary& Dictionary::operator=(Dictionary&&) noexcept = default;
Dictionary::~Dictionary() = default;

Dictionary::Dictionary(std::initializer_list<Entry> entries) : Dictionary(std::vector<Entry>(entries)) {}

Dictionary::Dictionary(std::vector<Entry> entries) : _entries(std::move(entries)) {
  const auto outOfOrder = [](const Entry& a, const Entry& b) { return a.first >= b.first; };
  if (std::adjacent_find(_entries.begin(), _entries.end(), outOfOrder) == _entries.end()) return;
  std::stable_sort(_entries.begin(), _entries.end(),
                   [](const Entry& a, const Entry& b) { return a.first < b.first; });
  // Of equal keys the last one stays: unique() over the reversed range keeps what it meets first.
  const auto firstKept = std::unique(_entries.rbegin(), _entries.rend(), [](const Entry& a, const Entry& b) {
                           return a.first == b.first;
                         }).base();
  _entries.erase(_entries.begin(), firstKept);
}

const Value& Dictionary::operator[](std::string_view key) const {
  const auto found = std::lower_bound(_entries.begin(), _entries.end(), key, keyIsLess);
  return found != _entries.end() && found->first == key ? found->second : kNull;
}

bool Dictionary::contains(std::string_view key) const {
  const auto found = std::lower_bound(_entries.begin(), _entries.end(), key, keyIsLess);
  return found != _entries.end() && found->first == key;
}

void Dictionary::set(std::string_view key, Value value) {
  const auto found = std::lower_bound(_entries.begin(), _entries.end(), key, keyIsLess);
  if (found != _entries.end() && found->first == key) {
    found->second = std::move(value);
  } else {
    _entries.insert(found, Entry(std::string(key), std::move(value)));
  }
}

void Dictionary::remove(std::string_view key) {
  const auto found = std::lower_bound(_entries.begin(), _entries.end(), key, keyIsLess);
  if (found != _entries.end() && found->first == key) _entries.erase(found);
}

std::vector<Dictionary::Entry> Dictionary::release() && {
  return std::move(_entries);
}

std::size_t Dictionary::size() const {
  return _entries.size();
}
bool Dictionary::empty() const {
  return _entries.empty();
}
Dictionary::const_iterator Dictionary::begin() const {
  return _entries.begin();
}
Dictionary::const_iterator Dictionary::end() const {
  return _entries.end();
}

bool operator==(const Dictionary& a, const Dictionary& b) {
  return a._entries == b._entries;
}

Value::Value(Array value) : _content(std::make_shared<const Array>(std::move(value))) {}
Value::Value(Dictionary value) : _content(std::make_shared<const Dictionary>(std::move(value))) {}

bool Value::boolValue() const {
  if (const auto* real = std::get_if<double>(&_content)) return *real != 0;
  return unsignedIntegerValue() != 0;
}

std::int64_t Value::integerValue() const {
  if (const auto* real = std::get_if<double>(&_content)) return clampedInteger<std::int64_t>(*real);
  return static_cast<std::int64_t>(unsignedIntegerValue());
}

std::uint64_t Value::unsignedIntegerValue() const {
  if (const auto* flag = std::get_if<bool>(&_content)) return *flag ? 1 : 0;
  if (const auto* number = std::get_if<std::int64_t>(&_content)) return static_cast<std::uint64_t>(*number);
  if (const auto* number = std::get_if<std::uint64_t>(&_content)) return *number;
  if (const auto* real = std::get_if<double>(&_content)) return clampedInteger<std::uint64_t>(*real);
  return 0;
}

double Value::doubleValue() const {
  if (const auto* real = std::get_if<double>(&_content)) return *real;
  if (isUnsigned()) return static_cast<double>(unsignedIntegerValue());
  return static_cast<double>(integerValue());
}

const Array* Value::array() const {
  const auto* shared = std::get_if<std::shared_ptr<const Array>>(&_content);
  return shared ? shared->get() : nullptr;
}

const Dictionary* Value::dictionary() const {
  const auto* shared = std::get_if<std::shared_ptr<const Dictionary>>(&_content);
  return shared ? shared->get() : nullptr;
}

std::shared_ptr<const Record> Value::record() const {
  const auto* shared = std::get_if<std::shared_ptr<const Record>>(&_content);
  return shared ? *shared : nullptr;
}

std::shared_ptr<const Array> Value::sharedArray() const {
  const auto* shared = std::get_if<std::shared_ptr<const Array>>(&_content);
  return shared ? *shared : nullptr;
}

std::shared_ptr<const Dictionary> Value::sharedDictionary() const {
  const auto* shared = std::get_if<std::shared_ptr<const Dictionary>>(&_content);
  return shared ? *shared : nullptr;
}

bool operator==(const Value& a, const Value& b) {
  if (a.isNumber() && b.isNumber()) return numbersAreEqual(a, b);
  if (a._content.index() != b._content.index()) return false;
  return std::visit(
      [&b]<class T>(const T& content) {
        const T& other = *std::get_if<T>(&b._content);
        if constexpr (requires { content.get(); }) {
          return sharedAreEqual(content, other);
        } else {
          return content == other;
        }
      },
      a._content);
}

}  // namespace zpk
