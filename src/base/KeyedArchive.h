#pragma once

#include <memory>
#include <span>
#include <string>

#include "base/Expected.h"
#include "base/Record.h"
#include "base/Value.h"

namespace zpk {

// Why bytes are not a keyed archive that this program can take.
struct KeyedArchiveError {
  std::string reason;
};

// A value, with all records in it, as one block of bytes: for copies made by round trip.
//
// Form: "ZKA1", then one value. A value is a tag byte and its content, numbers little-endian:
//
//   n                      null                       f / t         false / true
//   i / u / d  8 bytes     signed, unsigned, real     D  8 bytes    date (seconds since 1970)
//   s / b      count bytes text (UTF-8), bytes        a  count values           array
//   m          count (count bytes, value)…            dictionary
//   r          count bytes (class name), then the keyed form as in m           record
//
// where a count is 4 bytes. The text "Hi" is 5A 4B 41 31 73 02 00 00 00 48 69.
Bytes archivedData(const Value& value);

// The value in `data`, which may come from anywhere: depth is capped at 64, and nothing is allocated that the bytes
// do not pay for. Unknown classes, malformed records and trailing bytes are errors.
Expected<Value, KeyedArchiveError> unarchivedValue(std::span<const std::uint8_t> data,
                                                   const RecordRegistry& classes);

// The keyed form of `record` after a round trip through the archive: what initialises a copy of another class.
// Decoding what was just encoded cannot fail, so a failure is a programming error and throws std::logic_error.
Dictionary roundTrip(const Record& record, const RecordRegistry& classes);

}  // namespace zpk
