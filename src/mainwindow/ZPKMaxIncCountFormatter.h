#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/NumberFormat.h"

namespace zpk {

// Formatter of the field for the most increments that the archive keeps: turns text into a number and back, and
// keeps what can be typed within 1 to 100 while it is typed.
//
// A value; copies share the number format. Main thread only.
class ZPKMaxIncCountFormatter {
 public:
  // Without a number format: formats nothing, and reads every text as 1.
  ZPKMaxIncCountFormatter() = default;
  // As the interface makes it. `nf`: decimal style, in the user's locale.
  explicit ZPKMaxIncCountFormatter(std::shared_ptr<const NumberFormat> nf) : _nf(std::move(nf)) {}

  // The text of a number; nothing without a number format or for a value that is no number.
  std::optional<std::string> stringForObjectValue(const Value& object) const;

  // Hands back the number in the text, 1 for a text that is no number (the empty one too), where a place is given.
  // Always true; no error text is ever set.
  bool getObjectValue(Value* object, std::string_view forString, std::string* errorDescription) const;

  // Whether `partialString` may stand in the field. A text that may not is replaced by `newEditingString`, which is
  // handed back where a place is given; nothing there means that the last edit is to be dropped. No error text is
  // ever set.
  bool isPartialStringValid(std::string_view partialString, std::optional<std::string>* newEditingString,
                            std::string* errorDescription) const;

 private:
  std::optional<Value> numberFrom(std::string_view text) const;

  std::shared_ptr<const NumberFormat> _nf;
};

}  // namespace zpk
