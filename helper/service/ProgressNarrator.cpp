#include "helper/service/ProgressNarrator.h"

#include <algorithm>

#include "app/presentation/ByteSizeString.h"
#include "helper/service/ArchiveWords.h"

namespace zpk {

void ProgressNarrator::progress(std::uint64_t done, std::uint64_t total) {
  _board.setProgress(done, total);
  if (_total == 0 && total != 0) {
    _total = total;
    _began = std::chrono::steady_clock::now();
    _board.line(_before + byteSizeString(total) + _behind);
  }
  const std::uint64_t tenth =
      total == 0 ? 0 : static_cast<std::uint64_t>(10.0 * static_cast<double>(done) / static_cast<double>(total));
  if (tenth > _tenth && tenth < 10) {
    _board.line(std::to_string(tenth * 10) + " % " + _done + ", " + byteSizeString(done));
  }
  _tenth = std::max(_tenth, tenth);
}

std::string ProgressNarrator::account() const {
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - _began;
  const double rate = static_cast<double>(_total) / std::max(took.count(), 0.001);
  return byteSizeString(_total) + " in " + durationText(took.count()) + ", " +
         byteSizeString(static_cast<std::uint64_t>(rate)) + " a second";
}

}  // namespace zpk
