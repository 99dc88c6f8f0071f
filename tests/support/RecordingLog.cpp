#include "support/RecordingLog.h"

#include <algorithm>

namespace zpk {

void RecordingLog::line(std::string_view text) {
  const std::lock_guard lock(_mutex);
  _lines.emplace_back(text);
}

std::vector<std::string> RecordingLog::lines() const {
  const std::lock_guard lock(_mutex);
  return _lines;
}

std::size_t RecordingLog::count(std::string_view text) const {
  const std::lock_guard lock(_mutex);
  return static_cast<std::size_t>(std::count(_lines.begin(), _lines.end(), text));
}

void RecordingLog::clear() {
  const std::lock_guard lock(_mutex);
  _lines.clear();
}

}  // namespace zpk
