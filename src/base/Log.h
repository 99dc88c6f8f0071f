#pragma once

#include <string_view>

namespace zpk {

// Where log lines go: one line each, beginning with a component tag and two colons ("ZPKD::Reconnect"). May be
// called from any thread. A line's control characters are made visible by the adapter, so that a peer's text cannot
// forge lines.
class Log {
 public:
  virtual ~Log() = default;
  virtual void line(std::string_view text) = 0;
};

}  // namespace zpk
