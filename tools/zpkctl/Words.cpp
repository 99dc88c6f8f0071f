#include "tools/zpkctl/Words.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "base/Localization.h"
#include "helperlink/ResultCode.h"

namespace zpk::ctl {
namespace {

std::string timeLeft(std::uint64_t seconds) {
  constexpr std::uint64_t kMinute = 60;
  constexpr std::uint64_t kHour = 60 * kMinute;
  if (seconds < kMinute) return "less than a minute left";
  if (seconds < kHour) {
    const std::uint64_t minutes = (seconds + kMinute / 2) / kMinute;
    return "about " + std::to_string(minutes) + (minutes == 1 ? " minute left" : " minutes left");
  }
  return "about " + std::to_string(seconds / kHour) + " h " + std::to_string(seconds % kHour / kMinute) +
         " min left";
}

}  // namespace

Operation operationOf(const Dictionary& status) {
  if (statuskey::progressType.valueIn(status) == Value(kVerificationProgress)) return Operation::verification;
  switch (statuskey::progressType.read(status)) {
    case ProgressType::backup:
      return Operation::backup;
    case ProgressType::restore:
      return Operation::restore;
    case ProgressType::merge:
      return Operation::merge;
    case ProgressType::unknown:
      break;
  }
  return Operation::unknown;
}

std::string operationName(Operation operation) {
  switch (operation) {
    case Operation::backup:
      return "backing up";
    case Operation::restore:
      return "restoring";
    case Operation::merge:
      return "merging backup points";
    case Operation::verification:
      return "checking backup points";
    case Operation::unknown:
      break;
  }
  return "working";
}

std::string progressWords(const Dictionary& status) {
  const double percent = statuskey::progressPercents.read(status).doubleValue();
  // Rounded down: all means all.
  const int shown = percent > 0 ? static_cast<int>(std::floor(std::min(percent, 100.0))) : 0;
  std::string words = std::to_string(shown) + " %";
  if (statuskey::remainingTime.isPresentIn(status)) {
    words += ", " + timeLeft(statuskey::remainingTime.read(status));
  }
  return words;
}

std::string busyWords(const Dictionary& status) {
  if (statuskey::state.read(status) != HelperState::inProgress) {
    return "The backup helper is busy with something else. Try again in a while.";
  }
  switch (operationOf(status)) {
    case Operation::backup:
      return "A backup is already running.";
    case Operation::restore:
      return "A restore is running. Try again when it is over.";
    case Operation::merge:
      return "Backup points are being merged. Try again when that is over.";
    case Operation::verification:
      return "The backup points are being checked. Try again when that is over.";
    case Operation::unknown:
      break;
  }
  return "Something else is being done. Try again when it is over.";
}

std::string codeWords(std::uint32_t code, const Dictionary& status) {
  if (code == static_cast<std::uint32_t>(ResultCode::serviceIsBusy)) return busyWords(status);
  const EnglishLocalization english;
  return resultCodeMessage(code, english) + ". " + resultCodeAdvice(code, english);
}

std::string waitFailure(HelperSession::Wait wait, const std::string& what) {
  switch (wait) {
    case HelperSession::Wait::over:
    case HelperSession::Wait::timedOut:
      break;
    case HelperSession::Wait::helperGone:
      return "The backup helper ended before " + what + " was over.";
    case HelperSession::Wait::helperSilent:
      return "The backup helper does not answer any more. What became of " + what + " is not known.";
    case HelperSession::Wait::interrupted:
      return "Interrupted. " + what + " goes on.";
  }
  return "It took too long.";
}

}  // namespace zpk::ctl
