#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "helper/service/model/OperationBoard.h"

namespace zpk {

// Tells the board how far an operation is, with a line for every tenth.
class ProgressNarrator {
 public:
  // "Reading 5 GB that are in use", then "10 % read, 500 MB".
  ProgressNarrator(OperationBoard& board, std::string done, std::string before, std::string behind)
      : _board(board), _done(std::move(done)), _before(std::move(before)), _behind(std::move(behind)) {}

  void progress(std::uint64_t done, std::uint64_t total);

  // "5 GB in 50 s, 100 MB a second"
  std::string account() const;

 private:
  OperationBoard& _board;
  const std::string _done;
  const std::string _before;
  const std::string _behind;
  std::uint64_t _total = 0;
  std::uint64_t _tenth = 0;
  std::chrono::steady_clock::time_point _began = std::chrono::steady_clock::now();
};

}  // namespace zpk
