#include <systemd/sd-bus.h>

#include <cstring>
#include <iterator>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "base/KeyedCoder.h"
#include "platform/linux/wire/WireForm.h"
#include "platform/linux/wire/WireMeter.h"

namespace zpk {
namespace {

// The signature of the wire form that equals `signature`, or nothing.
std::string_view knownSignature(std::string_view signature) {
  static constexpr std::string_view kKnown[] = {"ay", "s",  "x",     "t",    "b",       "d",
                                                "as", "av", "a{sv}", "(sd)", "(sa{sv})"};
  for (const std::string_view known : kKnown) {
    if (known == signature) return known;
  }
  return {};
}

// Memory for the parts of containers, lent out and taken back: a status is made of thousands of small ones.
template <class Part>
class Workbench {
 public:
  std::vector<Part> take() {
    if (_free.empty()) return {};
    std::vector<Part> parts = std::move(_free.back());
    _free.pop_back();
    return parts;
  }
  void giveBack(std::vector<Part>&& parts) {
    parts.clear();
    _free.push_back(std::move(parts));
  }
  // What was collected, in memory of its own that is no larger than needed.
  std::vector<Part> finished(std::vector<Part>&& parts) {
    std::vector<Part> exact(std::make_move_iterator(parts.begin()), std::make_move_iterator(parts.end()));
    giveBack(std::move(parts));
    return exact;
  }

 private:
  std::vector<std::vector<Part>> _free;
};

// Reads one dictionary. Each step answers whether to go on; the first failure is kept.
//
// Only what a peer may vary is looked up (the type inside a variant, a pointer into the message); everything else
// is entered by its known signature, and the end of an array is told by the step that meets it.
class Reader {
 public:
  Reader(sd_bus_message* message, const RecordRegistry& classes) : _message(message), _classes(classes) {}

  std::optional<Dictionary> dictionary() {
    std::vector<Dictionary::Entry> found;
    if (!entries(found)) return std::nullopt;
    return Dictionary(_entryBench.finished(std::move(found)));
  }

  WireError takeError() { return std::move(*_error); }

 private:
  bool entries(std::vector<Dictionary::Entry>& found) {
    _meter.array(8);
    if (!enterLevel() || !enter('a', "{sv}")) return false;
    found = _entryBench.take();
    int entered = 0;
    while ((entered = sd_bus_message_enter_container(_message, 'e', "sv")) > 0) {
      _meter.structure();
      std::string_view key;
      if (!text(key)) return false;
      Dictionary::Entry& entry = found.emplace_back(key, nullptr);
      if (!variant(entry.second) || !leave()) return false;
    }
    _meter.leaveLevel();
    return taken(entered) && leave();
  }

  bool variant(Value& value) {
    const char* signature = nullptr;
    if (!taken(sd_bus_message_peek_type(_message, nullptr, &signature))) return false;
    const std::string_view type = signature != nullptr ? knownSignature(signature) : std::string_view();
    if (type.empty()) return fail(WireError::Kind::malformed, "a value of an unknown type");
    _meter.variant(type.size());
    return enter('v', type.data()) && content(type, value) && leave();
  }

  bool content(std::string_view signature, Value& value) {
    switch (signature[0]) {
      case 's':
        return textValue(value);
      case 'a':
        return container(signature[1], value);
      case '(':
        return signature[2] == 'd' ? date(value) : record(value);
      case 'b':
        return boolean(value);
      case 'x':
        return eightBytes<std::int64_t>('x', value);
      case 't':
        return eightBytes<std::uint64_t>('t', value);
      default:
        return eightBytes<double>('d', value);
    }
  }

  bool container(char element, Value& value) {
    switch (element) {
      case 'y':
        return bytes(value);
      case 's':
        return texts(value);
      case 'v':
        return array(value);
      default:
        break;
    }
    std::optional<Dictionary> inner = dictionary();
    if (inner) value = std::move(*inner);
    return inner.has_value();
  }

  bool boolean(Value& value) {
    _meter.boolean();
    int flag = 0;
    if (!basic('b', &flag)) return false;
    value = flag != 0;
    return true;
  }

  template <class T>
  bool eightBytes(char type, Value& value) {
    _meter.eightBytes();
    T content{};
    if (!basic(type, &content)) return false;
    value = content;
    return true;
  }

  bool textValue(Value& value) {
    std::string_view content;
    if (!text(content)) return false;
    value = content;
    return true;
  }

  bool bytes(Value& value) {
    const void* start = nullptr;
    std::size_t size = 0;
    if (!taken(sd_bus_message_read_array(_message, 'y', &start, &size))) return false;
    _meter.bytes(size);
    if (!fits()) return false;
    value = Value(std::span(static_cast<const std::uint8_t*>(start), size));
    return true;
  }

  // Collects where the texts stand before it makes any, so that a long log is allocated once and never moved.
  bool texts(Value& value) {
    _meter.array(4);
    if (!enterLevel() || !enter('a', "s")) return false;
    std::vector<std::string_view> found;
    const char* start = nullptr;
    int read = 0;
    while ((read = sd_bus_message_read_basic(_message, 's', &start)) > 0) {
      found.emplace_back(start);
      _meter.text(found.back().size());
      if (!fits()) return false;
    }
    _meter.leaveLevel();
    if (!taken(read) || !leave()) return false;
    value = Array(found.begin(), found.end());
    return true;
  }

  bool array(Value& value) {
    _meter.array(1);
    if (!enterLevel() || !enter('a', "v")) return false;
    Array elements = _elementBench.take();
    int ended = 0;
    while ((ended = sd_bus_message_at_end(_message, 0)) == 0) {
      if (!variant(elements.emplace_back())) return false;
    }
    _meter.leaveLevel();
    if (!taken(ended) || !leave()) return false;
    value = _elementBench.finished(std::move(elements));
    return true;
  }

  bool date(Value& value) {
    _meter.structure();
    std::string_view tag;
    if (!enter('r', "sd") || !text(tag)) return false;
    if (tag != "date") return fail(WireError::Kind::malformed, "a pair that is no date");
    _meter.eightBytes();
    Date moment;
    if (!basic('d', &moment.secondsSince1970) || !leave()) return false;
    value = moment;
    return true;
  }

  bool record(Value& value) {
    _meter.structure();
    std::string_view className;
    std::vector<Dictionary::Entry> found;
    if (!enter('r', "sa{sv}") || !text(className) || !entries(found) || !leave()) return false;
    Dictionary keys(std::move(found));
    try {
      value = _classes.make(className, KeyedDecoder(keys));
    } catch (const MalformedRecord& malformed) {
      return fail(WireError::Kind::malformed, malformed.what());
    }
    _entryBench.giveBack(std::move(keys).release());
    return true;
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
    return _meter.isTooDeep() ? fail(WireError::Kind::tooDeep, "more levels than the link carries") : true;
  }
  bool fits() {
    return _meter.isTooLarge() ? fail(WireError::Kind::tooLarge, "more bytes than the link carries") : true;
  }
  bool taken(int result) { return result < 0 ? refused(result) : true; }
  bool refused(int result) {
    return fail(WireError::Kind::malformed, std::string("not a status: ") + std::strerror(-result));
  }
  bool fail(WireError::Kind kind, std::string reason) {
    _error = WireError{kind, std::move(reason)};
    return false;
  }

  sd_bus_message* _message;
  const RecordRegistry& _classes;
  WireMeter _meter;
  Workbench<Dictionary::Entry> _entryBench;
  Workbench<Value> _elementBench;
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
