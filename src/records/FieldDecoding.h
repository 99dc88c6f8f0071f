#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/KeyedCoder.h"
#include "base/Localization.h"
#include "records/RecordList.h"
#include "records/TMBGUID.h"

namespace zpk {

// Reading and writing the object fields of records, for the records' own use.
//
// One rule for them all: an absent key (or the null value) reads as nothing; an object of another class than the
// field's, or a list with an element of another class, makes the record malformed. A peer that sends such a thing
// does not speak our language, and what it meant is not guessed.

[[noreturn]] void throwWrongClass(std::string_view key);

std::optional<std::string> decodeText(const KeyedDecoder& coder, std::string_view key);
std::optional<Date> decodeDate(const KeyedDecoder& coder, std::string_view key);
std::optional<Dictionary> decodeDictionary(const KeyedDecoder& coder, std::string_view key);
std::optional<TMBGUID> decodeGUID(const KeyedDecoder& coder, std::string_view key);

template <class R>
std::optional<RecordList<R>> decodeList(const KeyedDecoder& coder, std::string_view key) {
  const Value& value = coder.decodeObject(key);
  if (value.isNull()) return std::nullopt;
  const Array* array = value.array();
  if (array == nullptr) throwWrongClass(key);
  RecordList<R> list;
  list.reserve(array->size());
  for (const Value& element : *array) {
    list.push_back(element.recordOf<R>());
    if (list.back() == nullptr) throwWrongClass(key);
  }
  return list;
}

// The list as a value; the null value for none.
template <class R>
Value listValue(const std::optional<RecordList<R>>& list) {
  return list ? Value(Array(list->begin(), list->end())) : Value();
}

// The identifier as a value; the null value for none.
Value guidValue(const std::optional<TMBGUID>& guid);

// Writes the object only when it is there.
void encodeObjectIfPresent(KeyedEncoder& coder, Value value, std::string_view key);

// A list that may be missing, as most readers want it: missing is empty.
template <class R>
const RecordList<R>& orEmpty(const std::optional<RecordList<R>>& list) {
  static const RecordList<R> empty;
  return list ? *list : empty;
}

// The elements' descriptions, each on its own line.
template <class R>
std::string joinedDescriptions(const RecordList<R>& list, const Localization& localization) {
  std::string joined;
  for (const auto& element : list) {
    if (&element != &list.front()) joined += '\n';
    joined += element->description(localization);
  }
  return joined;
}

// A text in a description; a missing one shows as "(null)".
std::string describedText(const std::optional<std::string>& text);

}  // namespace zpk
