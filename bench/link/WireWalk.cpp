#include "bench/link/WireWalk.h"

#include <systemd/sd-bus.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace zpk::bench {
namespace {

void must(int result) {
  if (result <= 0) std::abort();
}

void walkVariant(sd_bus_message* message);

void walkTexts(sd_bus_message* message) {
  must(sd_bus_message_enter_container(message, 'a', "s"));
  const char* text = nullptr;
  while (sd_bus_message_read_basic(message, 's', &text) > 0) continue;
  must(sd_bus_message_exit_container(message));
}

void walkArray(sd_bus_message* message) {
  must(sd_bus_message_enter_container(message, 'a', "v"));
  while (sd_bus_message_at_end(message, 0) == 0) walkVariant(message);
  must(sd_bus_message_exit_container(message));
}

void walkPair(sd_bus_message* message, const char* contents) {
  must(sd_bus_message_enter_container(message, 'r', contents));
  const char* text = nullptr;
  must(sd_bus_message_read_basic(message, 's', &text));
  double seconds = 0;
  if (contents[1] == 'd') {
    must(sd_bus_message_read_basic(message, 'd', &seconds));
  } else {
    walkDictionary(message);
  }
  must(sd_bus_message_exit_container(message));
}

void walkBytes(sd_bus_message* message) {
  const void* start = nullptr;
  std::size_t size = 0;
  must(sd_bus_message_read_array(message, 'y', &start, &size));
}

void walkContent(sd_bus_message* message, std::string_view signature) {
  if (signature == "ay") return walkBytes(message);
  if (signature == "as") return walkTexts(message);
  if (signature == "av") return walkArray(message);
  if (signature == "a{sv}") return walkDictionary(message);
  if (signature == "(sd)") return walkPair(message, "sd");
  if (signature == "(sa{sv})") return walkPair(message, "sa{sv}");
  std::uint64_t number = 0;
  const char* text = nullptr;
  void* room = signature == "s" ? static_cast<void*>(&text) : static_cast<void*>(&number);
  must(sd_bus_message_read_basic(message, signature[0], room));
}

void walkVariant(sd_bus_message* message) {
  const char* signature = nullptr;
  must(sd_bus_message_peek_type(message, nullptr, &signature));
  must(sd_bus_message_enter_container(message, 'v', signature));
  walkContent(message, signature);
  must(sd_bus_message_exit_container(message));
}

}  // namespace

void walkDictionary(sd_bus_message* message) {
  must(sd_bus_message_enter_container(message, 'a', "{sv}"));
  while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
    const char* key = nullptr;
    must(sd_bus_message_read_basic(message, 's', &key));
    walkVariant(message);
    must(sd_bus_message_exit_container(message));
  }
  must(sd_bus_message_exit_container(message));
}

}  // namespace zpk::bench
