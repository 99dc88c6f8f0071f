#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "base/Expected.h"
#include "base/Record.h"
#include "base/Value.h"

struct sd_bus_message;

namespace zpk {

// The wire form of values: how a status stands in a D-Bus message, readable in clear by any bus tool.
//
//   boolean b             integers x (signed), t (unsigned)        real d
//   text s                bytes ay                                 date (sd): "date", seconds since 1970 UTC
//   array av, or as when it holds texts and nothing else           dictionary a{sv}
//   record (sa{sv}): class name, then its keyed form
//
// So {"state": 2, "fulllog": ["Started"]} is a{sv} 2 "fulllog" as 1 "Started" "state" t 2. There is no null: a key
// without a value is left out, and an array that holds one cannot be sent. Of a key that arrives twice the last one
// stays.
//
// A bus drops the connection of whoever sends more than it takes, while the send reports success; so both
// directions keep the same caps, well below the bus's own, and both count them alike. The size is what the
// dictionary takes in the message's body; the depth counts dictionaries, arrays and records, the outermost
// dictionary being 1.
inline constexpr std::size_t kMaxWireBytes = std::size_t{16} << 20;
inline constexpr int kMaxWireDepth = 16;

struct WireError {
  enum class Kind {
    tooLarge,    // above kMaxWireBytes
    tooDeep,     // below kMaxWireDepth levels
    malformed,   // received: not this form, an unknown class, or a record that lacks what its class requires
    unsendable,  // to be sent: a null in an array, or a message that cannot take a dictionary here
  };
  Kind kind;
  std::string reason;
};

// Appends `dictionary` as one a{sv} to a message that is being built. After an error the message is half filled and
// of no use. Text that is not valid UTF-8 is sent made valid (sendableText).
Expected<Done, WireError> appendDictionary(sd_bus_message* message, const Dictionary& dictionary);

// Reads the a{sv} at which a received (or sealed and rewound) message stands. Only classes in `classes` are made.
// The work is linear in the message, and memory is a small multiple of it. After an error the message's reading
// position is undefined.
Expected<Dictionary, WireError> readDictionary(sd_bus_message* message, const RecordRegistry& classes);

// `text` as the bus takes it: each byte that is not part of a well-formed UTF-8 sequence, each NUL and each code
// point that sd-bus does not take (surrogates, noncharacters) becomes U+FFFD. Gives `text` itself when there is
// nothing to mend, else the mended copy in `scratch`.
std::string_view sendableText(std::string_view text, std::string& scratch);

}  // namespace zpk
