// The decoder of the link's wire form. The input is a program: its bytes choose what is appended to a D-Bus
// message, of the wire form or of any other shape, with broken text and nesting beyond the cap. What decodes must
// encode, and then decode to the same again.

#include <sys/socket.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>

#include "base/KeyedArchive.h"
#include "platform/linux/wire/BusHandles.h"
#include "platform/linux/wire/WireForm.h"
#include "records/RecordClasses.h"

namespace {

using namespace zpk;

// More than the cap, less than what sd-bus nests.
constexpr int kMaxBuiltDepth = kMaxWireDepth + 4;

// Never connected; messages cannot be made without one.
sd_bus* unconnectedBus() {
  static sd_bus* const bus = [] {
    int ends[2];
    sd_bus* made = nullptr;
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends) < 0 || sd_bus_new(&made) < 0 ||
        sd_bus_set_fd(made, ends[0], ends[0]) < 0 || sd_bus_start(made) < 0) {
      std::abort();
    }
    return made;
  }();
  return bus;
}

BusMessageHandle emptyMessage() {
  sd_bus_message* message = nullptr;
  if (sd_bus_message_new_method_call(unconnectedBus(), &message, nullptr, "/", "a.b", "c") < 0) std::abort();
  return BusMessageHandle(message);
}

bool seal(sd_bus_message* message) {
  return sd_bus_message_seal(message, 1, 0) >= 0 && sd_bus_message_rewind(message, 1) >= 0;
}

class Builder {
 public:
  Builder(sd_bus_message* message, const std::uint8_t* data, std::size_t size)
      : _message(message), _at(data), _end(data + size) {}

  void build() {
    if (next() == 0xFF) {
      variant();
    } else {
      dictionary();
    }
  }

 private:
  std::uint8_t next() { return _at == _end ? std::uint8_t{0} : *_at++; }
  std::uint64_t eightBytes() {
    std::uint64_t number = 0;
    for (int i = 0; i < 8; ++i) number = number << 8 | next();
    return number;
  }
  // Content that ends with the input, so that a short program builds a short message.
  int count() { return _at == _end ? 0 : next() % 6; }

  void open(char type, const char* contents) { sd_bus_message_open_container(_message, type, contents); }
  void close() { sd_bus_message_close_container(_message); }

  // Any bytes, also such as no sender could append the proper way.
  void rawText(const char* text, std::size_t size) {
    char* room = nullptr;
    if (sd_bus_message_append_string_space(_message, size, &room) >= 0 && size > 0) std::memcpy(room, text, size);
  }
  void text() {
    static constexpr const char* kTexts[] = {"",
                                             "date",
                                             "TMBGUID",
                                             "RLDPartition",
                                             "RLDDisk",
                                             "RLDArcPartition",
                                             "RLDArcDisk",
                                             "RLDArchive",
                                             "RLDArchiveItem",
                                             "ZPKArchive",
                                             "ZPKDisk",
                                             "$bytes",
                                             "arcIndex",
                                             "bsdName",
                                             "creationDate",
                                             "diskNumber",
                                             "diskSize",
                                             "disks",
                                             "filePath",
                                             "gptID",
                                             "isBootCamp",
                                             "items",
                                             "mountPoint",
                                             "name",
                                             "partIndexes",
                                             "partNumber",
                                             "partSize",
                                             "partType",
                                             "partitions",
                                             "partitioningSchemes",
                                             "pinned",
                                             "sectorSize"};
    const std::size_t choice = next();
    if (choice < std::size(kTexts)) return rawText(kTexts[choice], std::strlen(kTexts[choice]));
    const std::size_t size = std::min(choice - std::size(kTexts), static_cast<std::size_t>(_end - _at));
    rawText(reinterpret_cast<const char*>(_at), size);
    _at += size;
  }

  void dictionary() {
    open('a', "{sv}");
    for (int entries = count(); entries > 0; --entries) {
      open('e', "sv");
      text();
      variant();
      close();
    }
    close();
  }

  void variant() {
    static constexpr const char* kTypes[] = {"b",  "x",     "t",    "d",        "s",   "ay",   "as",
                                             "av", "a{sv}", "(sd)", "(sa{sv})", "y",   "i",    "u",
                                             "v",  "o",     "g",    "a(ss)",    "aas", "(sv)", "ax"};
    const std::uint8_t choice = next();
    const std::string type = _depth >= kMaxBuiltDepth ? "b" : kTypes[choice % std::size(kTypes)];
    open('v', type.c_str());
    ++_depth;
    content(type);
    --_depth;
    close();
  }

  void content(const std::string& type) {
    if (type == "s") return text();
    if (type == "v") return variant();
    if (type == "a{sv}") return dictionary();
    if (type[0] == '(') return structure(type);
    if (type[0] == 'a') return array(type.substr(1));
    const std::uint64_t number = type == "b" ? next() % 2 : eightBytes();
    const bool isText = type == "o" || type == "g";
    sd_bus_message_append_basic(_message, type[0],
                                isText ? static_cast<const void*>(type == "o" ? "/" : "a{sv}") : &number);
  }

  void structure(const std::string& type) {
    const std::string members = type.substr(1, type.size() - 2);
    open('r', members.c_str());
    text();
    content(members.substr(1));
    close();
  }

  void array(const std::string& element) {
    open('a', element.c_str());
    for (int elements = count(); elements > 0; --elements) content(element);
    close();
  }

  sd_bus_message* _message;
  const std::uint8_t* _at;
  const std::uint8_t* _end;
  int _depth = 1;
};

void check(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const BusMessageHandle message = emptyMessage();
  Builder(message.get(), data, size).build();
  if (!seal(message.get())) return 0;
  const auto decoded = readDictionary(message.get(), recordClasses());
  if (!decoded) return 0;

  const BusMessageHandle again = emptyMessage();
  check(appendDictionary(again.get(), *decoded).hasValue());
  check(seal(again.get()));
  const auto decodedAgain = readDictionary(again.get(), recordClasses());
  check(decodedAgain.hasValue());
  // Bytes compare what values do not: not-a-number equals itself.
  check(archivedData(*decoded) == archivedData(*decodedAgain));
  return 0;
}
