#pragma once

#include <concepts>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/Value.h"

namespace zpk {

// The kinds of value that a status holds: how each is read, what a missing one reads as, and how it is written.
//
//   StatusValue<K>::Read     what a reader gets
//   StatusValue<K>::Written  what a writer gives
//   read(value)              never fails: a missing value, or one of another kind, reads as the kind's nothing
//   write(written)           the value to store; the null value when there is nothing to store
template <class Kind>
struct StatusValue;

// Kinds that are not simply a C++ type.
struct Number {};     // a number of any kind, handed on as it came
struct Text {};       // text that may be missing
struct TextLines {};  // an array of texts; may be very long, so that it is shared and never copied
template <class R>
struct RecordOf {};  // a record of class R, or of a subclass
template <class R>
struct ListOf {};  // an array of such records

// Enumerations of a status are numbered from 0 without gaps and end with an `unknown` that stands for every number
// the program has no name for. `kLastNamed` is the greatest number that has one.
template <class E>
inline constexpr E kLastNamed = E::unknown;

template <class E>
concept StatusEnumeration = std::same_as<std::underlying_type_t<E>, std::int32_t> && requires {
  E::unknown;
};

template <>
struct StatusValue<bool> {
  using Read = bool;
  using Written = bool;
  static Read read(const Value& value) { return value.boolValue(); }
  static Value write(Written written) { return written; }
};

template <>
struct StatusValue<std::int64_t> {
  using Read = std::int64_t;
  using Written = std::int64_t;
  static Read read(const Value& value) { return value.integerValue(); }
  static Value write(Written written) { return written; }
};

template <>
struct StatusValue<std::uint64_t> {
  using Read = std::uint64_t;
  using Written = std::uint64_t;
  static Read read(const Value& value) { return value.unsignedIntegerValue(); }
  static Value write(Written written) { return written; }
};

template <StatusEnumeration E>
struct StatusValue<E> {
  static_assert(kLastNamed<E> != E::unknown, "state the enumeration's last named value");
  using Read = E;
  using Written = E;
  static Read read(const Value& value) {
    const std::int32_t number = value.intValue();
    const bool named = number >= 0 && number <= static_cast<std::int32_t>(kLastNamed<E>);
    return named ? static_cast<E>(number) : E::unknown;
  }
  static Value write(Written written) { return static_cast<std::int32_t>(written); }
};

template <>
struct StatusValue<Number> {
  using Read = Value;
  using Written = Value;
  static Read read(const Value& value) { return value.isNumber() ? value : Value(0); }
  static Value write(const Value& written) { return written.isNumber() ? written : Value(); }
};

template <>
struct StatusValue<Text> {
  using Read = std::optional<std::string>;
  using Written = std::optional<std::string>;
  static Read read(const Value& value) { return value.optionalText(); }
  static Value write(Written written) { return written ? Value(std::move(*written)) : Value(); }
};

template <>
struct StatusValue<TextLines> {
  using Read = std::shared_ptr<const Array>;
  using Written = Value;
  static Read read(const Value& value) { return value.sharedArray(); }
  static Value write(const Value& written) { return written.isArray() ? written : Value(); }
};

template <class R>
struct StatusValue<RecordOf<R>> {
  using Read = std::shared_ptr<const R>;
  using Written = std::shared_ptr<const R>;
  static Read read(const Value& value) { return value.recordOf<R>(); }
  static Value write(Written written) { return written; }
};

template <class R>
struct StatusValue<ListOf<R>> {
  using Read = std::vector<std::shared_ptr<const R>>;
  using Written = std::vector<std::shared_ptr<const R>>;
  // An element that is no such record is left out.
  static Read read(const Value& value) {
    Read records;
    const Array* elements = value.array();
    if (!elements) return records;
    records.reserve(elements->size());
    for (const Value& element : *elements) {
      if (auto record = element.recordOf<R>()) records.push_back(std::move(record));
    }
    return records;
  }
  static Value write(Written written) { return Array(written.begin(), written.end()); }
};

}  // namespace zpk
