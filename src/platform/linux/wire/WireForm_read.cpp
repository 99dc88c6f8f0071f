#include <systemd/sd-bus.h>

#include <cstring>
#include <optional>
#include <utility>

#include "base/KeyedCoder.h"
#include "platform/linux/wire/WireForm.h"
#include "platform/linux/wire/WireMeter.h"

namespace zpk {
namespace {

// A record of this program has about as many keys; more cost one move.
constexpr std::size_t kUsualKeyCount = 16;

// Reads one dictionary. What each step gives is nothing after the first failure, which is kept.
//
// Only what a peer may vary is looked up (the type inside a variant, a pointer into the message); everything else
// is entered by its known signature, and the end of an array is told by the step that meets it.
class Reader {
 public:
  Reader(sd_bus_message* message, const RecordRegistry& classes) : _message(message), _classes(classes) {}

  std::optional<Dictionary> dictionary() {
    _meter.array(8);
    if (!enterLevel() || !enter('a', "{sv}")) return std::nullopt;
    std::vector<Dictionary::Entry> entries;
    entries.reserve(kUsualKeyCount);
    while (const std::optional<bool> more = entry(entries)) {
      if (*more) continue;
      _meter.leaveLevel();
      if (!leave()) return std::nullopt;
      return Dictionary(std::move(entries));
    }
    return std::nullopt;
  }

  WireError takeError() { return std::move(*_error); }

 private:
  // Whether there was an entry; nothing for a failure.
  std::optional<bool> entry(std::vector<Dictionary::Entry>& entries) {
    const int entered = sd_bus_message_enter_container(_message, 'e', "sv");
    if (entered == 0) return false;
    _meter.structure();
    std::string_view key;
    if (!taken(entered) || !text(key)) return std::nullopt;
    std::optional<Value> value = variant();
    if (!value || !leave()) return std::nullopt;
    entries.emplace_back(std::string(key), std::move(*value));
    return true;
  }

  std::optional<Value> variant() {
    const char* signature = nullptr;
    if (!taken(sd_bus_message_peek_type(_message, nullptr, &signature))) return std::nullopt;
    const std::string_view type = signature != nullptr ? knownSignature(signature) : std::string_view();
    if (type.empty()) return fail(WireError::Kind::malformed, "a value of an unknown type");
    _meter.variant(type.size());
    if (!enter('v', type.data())) return std::nullopt;
    std::optional<Value> value = content(type);
    if (!value || !leave()) return std::nullopt;
    return value;
  }

  // The signature of the wire form that equals `signature`, or nothing.
  static std::string_view knownSignature(std::string_view signature) {
    static constexpr std::string_view kKnown[] = {"s",  "x",  "t",     "b",  "d",   "(sa{sv})",
                                                  "av", "as", "a{sv}", "ay", "(sd)"};
    for (const std::string_view known : kKnown) {
      if (known == signature) return known;
    }
    return {};
  }

  std::optional<Value> content(std::string_view signature) {
    switch (signature[0]) {
      case 's':
        return textValue();
      case 'a':
        return container(signature[1]);
      case '(':
        return signature[2] == 'd' ? date() : record();
      case 'b':
        return boolean();
      case 'x':
        return eightBytes<std::int64_t>('x');
      case 't':
        return eightBytes<std::uint64_t>('t');
      default:
        return eightBytes<double>('d');
    }
  }

  std::optional<Value> container(char element) {
    switch (element) {
      case 'y':
        return bytes();
      case 's':
        return texts();
      case 'v':
        return array();
      default:
        break;
    }
    if (std::optional<Dictionary> entries = dictionary()) return Value(std::move(*entries));
    return std::nullopt;
  }

  std::optional<Value> boolean() {
    _meter.boolean();
    int flag = 0;
    if (!basic('b', &flag)) return std::nullopt;
    return Value(flag != 0);
  }

  template <class T>
  std::optional<Value> eightBytes(char type) {
    _meter.eightBytes();
    T content{};
    if (!basic(type, &content)) return std::nullopt;
    return Value(content);
  }

  std::optional<Value> textValue() {
    std::string_view content;
    if (!text(content)) return std::nullopt;
    return Value(content);
  }

  std::optional<Value> bytes() {
    const void* start = nullptr;
    std::size_t size = 0;
    if (!taken(sd_bus_message_read_array(_message, 'y', &start, &size))) return std::nullopt;
    _meter.bytes(size);
    if (!fits()) return std::nullopt;
    const auto* first = static_cast<const std::uint8_t*>(start);
    return Value(size == 0 ? Bytes() : Bytes(first, first + size));
  }

  // Collects where the texts stand before it makes any, so that a long log is allocated once and never moved.
  std::optional<Value> texts() {
    _meter.array(4);
    if (!enterLevel() || !enter('a', "s")) return std::nullopt;
    std::vector<std::string_view> found;
    const char* start = nullptr;
    int read = 0;
    while ((read = sd_bus_message_read_basic(_message, 's', &start)) > 0) {
      found.emplace_back(start);
      _meter.text(found.back().size());
      if (!fits()) return std::nullopt;
    }
    _meter.leaveLevel();
    if (!taken(read) || !leave()) return std::nullopt;
    return Value(Array(found.begin(), found.end()));
  }

  std::optional<Value> array() {
    _meter.array(1);
    if (!enterLevel() || !enter('a', "v")) return std::nullopt;
    Array elements;
    int ended = 0;
    while ((ended = sd_bus_message_at_end(_message, 0)) == 0) {
      std::optional<Value> element = variant();
      if (!element) return std::nullopt;
      elements.push_back(std::move(*element));
    }
    _meter.leaveLevel();
    if (!taken(ended) || !leave()) return std::nullopt;
    return Value(std::move(elements));
  }

  std::optional<Value> date() {
    _meter.structure();
    std::string_view tag;
    if (!enter('r', "sd") || !text(tag)) return std::nullopt;
    if (tag != "date") return fail(WireError::Kind::malformed, "a pair that is no date");
    _meter.eightBytes();
    Date moment;
    if (!basic('d', &moment.secondsSince1970) || !leave()) return std::nullopt;
    return Value(moment);
  }

  std::optional<Value> record() {
    _meter.structure();
    std::string_view className;
    if (!enter('r', "sa{sv}") || !text(className)) return std::nullopt;
    const std::optional<Dictionary> keys = dictionary();
    if (!keys || !leave()) return std::nullopt;
    try {
      return Value(_classes.make(className, KeyedDecoder(*keys)));
    } catch (const MalformedRecord& malformed) {
      return fail(WireError::Kind::malformed, malformed.what());
    }
  }

  // `content` lives as long as the message.
  bool text(std::string_view& content) {
    const char* start = nullptr;
    if (!taken(sd_bus_message_read_basic(_message, 's', &start))) return false;
    content = start;
    _meter.text(content.size());
    return fits();
  }

  bool basic(char type, void* content) {
    return fits() && taken(sd_bus_message_read_basic(_message, type, content));
  }
  bool enter(char type, const char* contents) {
    return fits() && taken(sd_bus_message_enter_container(_message, type, contents));
  }
  bool leave() { return taken(sd_bus_message_exit_container(_message)); }

  bool enterLevel() {
    _meter.enterLevel();
    if (_meter.isTooDeep()) fail(WireError::Kind::tooDeep, "more levels than the link carries");
    return !_error;
  }
  bool fits() {
    if (_meter.isTooLarge()) fail(WireError::Kind::tooLarge, "more bytes than the link carries");
    return !_error;
  }
  bool taken(int result) {
    if (result < 0) fail(WireError::Kind::malformed, std::string("not a status: ") + std::strerror(-result));
    return result >= 0;
  }
  std::nullopt_t fail(WireError::Kind kind, std::string reason) {
    if (!_error) _error = WireError{kind, std::move(reason)};
    return std::nullopt;
  }

  sd_bus_message* _message;
  const RecordRegistry& _classes;
  WireMeter _meter;
  std::optional<WireError> _error;
};

}  // namespace

Expected<Dictionary, WireError> readDictionary(sd_bus_message* message, const RecordRegistry& classes) {
  Reader reader(message, classes);
  std::optional<Dictionary> dictionary = reader.dictionary();
  if (!dictionary) return reader.takeError();
  return std::move(*dictionary);
}

}  // namespace zpk
