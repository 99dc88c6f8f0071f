#include <systemd/sd-bus.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

#include "base/KeyedCoder.h"
#include "platform/linux/wire/WireForm.h"
#include "platform/linux/wire/WireMeter.h"

namespace zpk {
namespace {

bool holdsOnlyTexts(const Array& array) {
  return !array.empty() &&
         std::all_of(array.begin(), array.end(), [](const Value& value) { return value.isText(); });
}

// The signature of `value` inside its variant; null for the null value.
const char* signatureOf(const Value& value) {
  if (value.isText()) return "s";
  if (value.isSigned()) return "x";
  if (value.isUnsigned()) return "t";
  if (value.isBoolean()) return "b";
  if (value.isReal()) return "d";
  if (value.isBytes()) return "ay";
  if (value.isDate()) return "(sd)";
  if (value.isRecord()) return "(sa{sv})";
  if (value.isDictionary()) return "a{sv}";
  if (const Array* array = value.array()) return holdsOnlyTexts(*array) ? "as" : "av";
  return nullptr;
}

// Appends one dictionary. Every step answers whether to go on; the first failure is kept.
class Appender {
 public:
  explicit Appender(sd_bus_message* message) : _message(message) {}

  bool dictionary(const Dictionary& dictionary) {
    _meter.array(8);
    if (!enterLevel() || !open('a', "{sv}")) return false;
    for (const auto& [key, value] : dictionary) {
      if (!value.isNull() && !entry(key, value)) return false;
    }
    _meter.leaveLevel();
    return close();
  }

  WireError takeError() { return std::move(*_error); }

 private:
  bool entry(const std::string& key, const Value& value) {
    _meter.structure();
    return open('e', "sv") && text(key) && variant(value) && close();
  }

  bool variant(const Value& value) {
    const char* signature = signatureOf(value);
    if (signature == nullptr) return fail(WireError::Kind::unsendable, "an array holds a null");
    _meter.variant(std::strlen(signature));
    return open('v', signature) && content(value, signature) && close();
  }

  bool content(const Value& value, const char* signature) {
    if (const std::string* string = value.text()) return text(*string);
    if (const Dictionary* entries = value.dictionary()) return dictionary(*entries);
    if (const Array* elements = value.array()) return array(*elements, signature + 1);
    if (const ByteBlock* block = value.bytes()) return bytes(*block);
    if (const Date* moment = value.date()) return date(*moment);
    if (value.isRecord()) return record(*value.record());
    return number(value, *signature);
  }

  bool number(const Value& value, char type) {
    if (type == 'b') {
      _meter.boolean();
      const int flag = value.boolValue() ? 1 : 0;
      return basic(type, &flag);
    }
    _meter.eightBytes();
    const std::int64_t integer = value.integerValue();
    const std::uint64_t natural = value.unsignedIntegerValue();
    const double real = value.doubleValue();
    if (type == 'x') return basic(type, &integer);
    return type == 't' ? basic(type, &natural) : basic(type, &real);
  }

  // Copies straight into the message: sd-bus's own append walks through the text twice more.
  bool text(std::string_view raw) {
    const std::string_view text = sendableText(raw, _scratch);
    _meter.text(text.size());
    if (!fits()) return false;
    char* room = nullptr;
    if (!taken(sd_bus_message_append_string_space(_message, text.size(), &room))) return false;
    if (!text.empty()) std::memcpy(room, text.data(), text.size());
    return true;
  }

  bool bytes(const ByteBlock& block) {
    _meter.bytes(block.size());
    return fits() && taken(sd_bus_message_append_array(_message, 'y', block.data(), block.size()));
  }

  bool date(Date moment) {
    _meter.structure();
    if (!open('r', "sd") || !text("date")) return false;
    _meter.eightBytes();
    return basic('d', &moment.secondsSince1970) && close();
  }

  bool record(const Record& record) {
    _meter.structure();
    return open('r', "sa{sv}") && text(record.className()) && dictionary(keyedForm(record)) && close();
  }

  bool array(const Array& array, const char* elementSignature) {
    const bool texts = *elementSignature == 's';
    _meter.array(texts ? 4 : 1);
    if (!enterLevel() || !open('a', elementSignature)) return false;
    for (const Value& element : array) {
      if (!(texts ? text(*element.text()) : variant(element))) return false;
    }
    _meter.leaveLevel();
    return close();
  }

  bool enterLevel() {
    _meter.enterLevel();
    return _meter.isTooDeep() ? fail(WireError::Kind::tooDeep, "more levels than the link carries") : true;
  }
  bool fits() {
    return _meter.isTooLarge() ? fail(WireError::Kind::tooLarge, "more bytes than the link carries") : true;
  }

  bool basic(char type, const void* content) {
    return fits() && taken(sd_bus_message_append_basic(_message, type, content));
  }
  bool open(char type, const char* contents) {
    return fits() && taken(sd_bus_message_open_container(_message, type, contents));
  }
  bool close() { return taken(sd_bus_message_close_container(_message)); }

  bool taken(int result) {
    return result < 0 ? fail(WireError::Kind::unsendable, std::string("refused: ") + std::strerror(-result)) : true;
  }
  bool fail(WireError::Kind kind, std::string reason) {
    _error = WireError{kind, std::move(reason)};
    return false;
  }

  sd_bus_message* _message;
  WireMeter _meter;
  std::string _scratch;
  std::optional<WireError> _error;
};

}  // namespace

Expected<Done, WireError> appendDictionary(sd_bus_message* message, const Dictionary& dictionary) {
  Appender appender(message);
  if (!appender.dictionary(dictionary)) return appender.takeError();
  return Done{};
}

}  // namespace zpk
