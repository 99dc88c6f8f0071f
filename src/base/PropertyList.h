#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "base/Expected.h"
#include "base/Value.h"

namespace zpk {

// Property lists: the files in which job definitions and settings are kept, and what a job launcher prints.
//
// Values that have a form in one: boolean, signed and unsigned integer, real, text, bytes, date, array, dictionary.
// The functions here keep no state and may be called from any thread.

// How much of a document is taken. It may come from anywhere, so that together these bound the memory and the time
// that a reader spends: a few hundred bytes a node, plus the document and the content.
struct PropertyListLimits {
  static constexpr std::size_t kBytes = std::size_t{16} << 20;
  static constexpr std::size_t kDepth = 64;
  static constexpr std::size_t kNodes = 250'000;
  static constexpr std::size_t kText = std::size_t{1} << 20;
  static constexpr std::size_t kContent = std::size_t{64} << 20;

  // The document itself.
  std::size_t bytes = kBytes;
  // Arrays and dictionaries inside one another, the outermost one counted.
  std::size_t depth = kDepth;
  // Values and keys. In the binary form, where many places can share one object, it counts at every place.
  std::size_t nodes = kNodes;
  // One text or key, in bytes of UTF-8.
  std::size_t text = kText;
  // All texts, keys and data together, shared ones again counted at every place.
  std::size_t content = kContent;
};

// Why bytes are not a property list that this program takes, and where: `offset` counts bytes from the start of the
// data, `line` counts from 1 and is 0 in a binary one.
struct PropertyListError {
  std::string reason;
  std::size_t offset = 0;
  std::size_t line = 0;

  // "line 3: the reason", or "byte 17: the reason"; in English, for the log.
  std::string description() const;
};

// The value in `data`, whose form its first bytes tell:
//
//   XML      `<?xml version="1.0" encoding="UTF-8"?> … <plist version="1.0"> <dict> … </dict> </plist>`
//            UTF-8 alone. The document type is skipped; one with definitions of its own is refused, so there are no
//            entities but the five that XML has and the numeric ones. White space around numbers, dates and data
//            does not count.
//   binary   "bplist00", objects, a table of their offsets, a trailer.
//   text     { Label = "a \"quoted\" text"; Arguments = (one, two); Data = <0fbd 77>; } with /* … */ and //
//   comments,
//            and the typed extensions <*I5> <*R1.5> <*BY> <*D2024-01-02 03:04:05 +0000> <[base64]>. Everything else
//            in it is text, so that a number comes back as one.
//
// Of a key that stands more than once the last value stays. Text that is not valid UTF-8 (or UTF-16, in the binary
// form) is refused rather than repaired: a job read from it would not be the job that was written. What has no form
// as a Value (null, sets, keyed-archive references, integers beyond 64 bits) is refused too.
Expected<Value, PropertyListError> readPropertyList(std::span<const std::uint8_t> data,
                                                    const PropertyListLimits& limits = {});

// Why a value has no form as a property list. `keyPath` leads to what has none, such as "items.3.disk"; it is empty
// for the value itself.
struct PropertyListWriteError {
  std::string keyPath;
  std::string reason;
};

// `value` as an XML property list in UTF-8: tabs for indentation, keys in the order of a Dictionary, a line end at
// the end. Reading it gives a value equal to `value`, but that a date loses its fraction of a second, for which the
// form has no room.
//
// Errors: null, records, dates outside the years 1 to 9999, text that is not valid UTF-8 or has characters that XML
// cannot hold (control characters but tab and the line ends, U+FFFE, U+FFFF), nesting deeper than
// PropertyListLimits::kDepth.
Expected<Bytes, PropertyListWriteError> writeXMLPropertyList(const Value& value);

}  // namespace zpk
