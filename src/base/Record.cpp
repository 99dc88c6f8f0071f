#include "base/Record.h"

#include "base/KeyedCoder.h"

namespace zpk {

bool operator==(const Record& a, const Record& b) {
  return &a == &b || (a.className() == b.className() && keyedForm(a) == keyedForm(b));
}

std::shared_ptr<const Record> RecordRegistry::make(std::string_view className, const KeyedDecoder& coder) const {
  const auto found = _factories.find(className);
  // The name comes from a peer: only as much of it as a log line can bear is repeated.
  if (found == _factories.end())
    throw MalformedRecord("unknown class \"" + std::string(className.substr(0, 64)) + "\"");
  return found->second(coder);
}

}  // namespace zpk
