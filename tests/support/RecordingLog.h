#pragma once

#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "base/Log.h"

namespace zpk {

// Keeps every line. Any thread.
class RecordingLog final : public Log {
 public:
  void line(std::string_view text) override;

  std::vector<std::string> lines() const;
  // How many lines are exactly `text`.
  std::size_t count(std::string_view text) const;
  void clear();

 private:
  mutable std::mutex _mutex;
  std::vector<std::string> _lines;
};

}  // namespace zpk
