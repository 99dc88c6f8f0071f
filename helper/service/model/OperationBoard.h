#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace zpk {

// Where a running operation writes how far it is, and the loop reads it when it cares to: the operation never waits
// for a front end, however often it has something to say. Any thread.
class OperationBoard {
 public:
  struct News {
    std::uint64_t done = 0;   // Bytes; never above `total`.
    std::uint64_t total = 0;  // 0 until the operation knows.
    std::vector<std::string> lines;
  };

  void setProgress(std::uint64_t done, std::uint64_t total) {
    const std::lock_guard lock(_mutex);
    _news.done = done < total ? done : total;
    _news.total = total;
  }

  // One line of the log that people read.
  void line(std::string text) {
    const std::lock_guard lock(_mutex);
    _news.lines.push_back(std::move(text));
  }

  // How far it is, and the lines that came since the last call.
  News take() {
    const std::lock_guard lock(_mutex);
    return News{_news.done, _news.total, std::exchange(_news.lines, {})};
  }

 private:
  std::mutex _mutex;
  News _news;
};

}  // namespace zpk
