#include "records/FieldDecoding.h"

namespace zpk {

void throwWrongClass(std::string_view key) {
  throw MalformedRecord("an object of the wrong class under \"" + std::string(key) + "\"");
}

std::optional<std::string> decodeText(const KeyedDecoder& coder, std::string_view key) {
  const Value& value = coder.decodeObject(key);
  if (value.isNull()) return std::nullopt;
  if (!value.isText()) throwWrongClass(key);
  return *value.text();
}

std::optional<Date> decodeDate(const KeyedDecoder& coder, std::string_view key) {
  const Value& value = coder.decodeObject(key);
  if (value.isNull()) return std::nullopt;
  if (!value.isDate()) throwWrongClass(key);
  return *value.date();
}

std::optional<Dictionary> decodeDictionary(const KeyedDecoder& coder, std::string_view key) {
  const Value& value = coder.decodeObject(key);
  if (value.isNull()) return std::nullopt;
  if (!value.isDictionary()) throwWrongClass(key);
  return *value.dictionary();
}

std::optional<TMBGUID> decodeGUID(const KeyedDecoder& coder, std::string_view key) {
  const Value& value = coder.decodeObject(key);
  if (value.isNull()) return std::nullopt;
  const auto guid = value.recordOf<TMBGUID>();
  if (guid == nullptr) throwWrongClass(key);
  return *guid;
}

Value guidValue(const std::optional<TMBGUID>& guid) {
  return guid ? Value(std::make_shared<const TMBGUID>(*guid)) : Value();
}

void encodeObjectIfPresent(KeyedEncoder& coder, Value value, std::string_view key) {
  if (!value.isNull()) coder.encodeObject(std::move(value), key);
}

std::string describedText(const std::optional<std::string>& text) {
  return text.value_or("(null)");
}

}  // namespace zpk
