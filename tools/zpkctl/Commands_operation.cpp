// The commands that have the helper do something.

#include <cstdint>
#include <optional>
#include <string>

#include "helperlink/ResultCode.h"
#include "helperlink/StatusRecord.h"
#include "tools/zpkctl/Commands.h"
#include "tools/zpkctl/StatusReport.h"
#include "tools/zpkctl/Words.h"

namespace zpk::ctl {
namespace {

// It ends a running operation within a second, but for a folder on a dead network share.
constexpr Seconds kLongestStop{30.0};

std::optional<Date> newestDate(const Dictionary& status) {
  const auto point = newestPoint(status);
  return point ? point->creationDate() : std::nullopt;
}

// Follows the backup that was just begun, from status to status, to its end.
class BackupCourse {
 public:
  BackupCourse(Console& console, std::optional<Date> newestDate) : _console(console), _newestDate(newestDate) {}

  bool isOver(const Dictionary& status) {
    const bool over = isAfterIt(status);
    if (over) {
      _error = statuskey::lastBackupError.read(status);
      _madeAPoint = newestDate(status) != _newestDate;
    } else if (statuskey::state.read(status) == HelperState::inProgress) {
      _elapsed = statuskey::elapsedTime.read(status);
      _console.showProgress("Backing up: " + progressWords(status));
    }
    return over;
  }
  // Once it is over: why it failed, or what is wrong with the point that it made all the same; nothing when all is
  // well.
  const std::optional<std::string>& error() const { return _error; }
  bool hasMadeAPoint() const { return _madeAPoint; }

 private:
  // Busy is not the end: the helper may still put away what was stopped.
  bool isAfterIt(const Dictionary& status) const {
    switch (statuskey::state.read(status)) {
      case HelperState::idle:
        return true;
      case HelperState::inProgress:
        // Somebody was quick: this is the next operation already, and the last backup is still this one.
        return statuskey::progressType.read(status) != ProgressType::backup ||
               statuskey::elapsedTime.read(status) < _elapsed;
      case HelperState::busy:
      case HelperState::unknown:
        break;
    }
    return false;
  }

  Console& _console;
  std::optional<Date> _newestDate;  // of the points before it
  std::uint64_t _elapsed = 0;
  std::optional<std::string> _error;
  bool _madeAPoint = false;
};

// Why the backup was not begun, or nothing when it was.
std::optional<std::string> beginBackup(HelperSession& session) {
  bool isAnswered = true;
  session.beginListening();
  const Value result = session.helper().doAsyncAction([&](ZPKDaemon& daemon) {
    if (session.isInterrupted()) return Value();
    const Value answer = daemon.backup();
    isAnswered = !answer.isNull();
    return answer;
  });
  if (result.isNull()) {
    if (session.isInterrupted() && isAnswered) return "Interrupted before a backup was begun.";
    if (session.isInterrupted()) return "Interrupted. Whether a backup was begun, 'zpkctl status' tells.";
    return session.refusal().value_or("The backup helper does not answer. No backup was begun.");
  }
  const std::uint32_t code = resultCodeOf(result);
  if (code == static_cast<std::uint32_t>(ResultCode::success)) return std::nullopt;
  const auto status = session.newestStatus();
  return codeWords(code, status ? *status : Dictionary());
}

// Why it cannot be told whether anything is to be stopped.
std::string whyUnknown(HelperSession::Wait wait) {
  switch (wait) {
    case HelperSession::Wait::interrupted:
      return "Interrupted before anything was stopped.";
    case HelperSession::Wait::helperGone:
      return "The backup helper has ended.";
    case HelperSession::Wait::helperSilent:
      return "The backup helper does not answer.";
    case HelperSession::Wait::over:
    case HelperSession::Wait::timedOut:
      break;
  }
  return "The backup helper is busy. Whether it is about to begin something is not known; try again in a while.";
}

}  // namespace

int runBackup(HelperSession& session, Console& console) {
  const auto before = session.newestStatus();
  if (const auto obstacle = beginBackup(session)) {
    console.complain(*obstacle);
    return kNotDone;
  }
  BackupCourse course(console, before ? newestDate(*before) : std::nullopt);
  const auto wait = session.waitUntil([&](const Dictionary& status) { return course.isOver(status); });
  if (wait == HelperSession::Wait::interrupted) {
    console.complain("Interrupted. The backup goes on; 'zpkctl stop' stops it.");
    return kNotDone;
  }
  if (wait != HelperSession::Wait::over) {
    console.complain(waitFailure(wait, "the backup"));
    return kNotDone;
  }
  if (course.error() && course.hasMadeAPoint()) {
    console.complain("The backup point was made. " + *course.error());
    return kIncomplete;
  }
  if (course.error()) {
    console.complain("The backup failed. " + *course.error());
    return kNotDone;
  }
  console.say("The backup is complete.");
  return kDone;
}

int runStop(HelperSession& session, Console& console) {
  // A busy helper may be about to begin what somebody else wants from it.
  HelperState state = HelperState::unknown;
  const auto settled = session.waitUntil(
      [&](const Dictionary& status) {
        state = statuskey::state.read(status);
        return state == HelperState::idle || state == HelperState::inProgress;
      },
      HelperSession::kLongestBusy);
  if (settled != HelperSession::Wait::over) {
    console.complain(whyUnknown(settled));
    return kNotDone;
  }
  if (state == HelperState::idle) {
    console.say("Nothing is running.");
    return kDone;
  }
  session.beginListening();
  if (session.helper().breakProgress().isNull()) {
    console.complain(session.isInterrupted() ? "Interrupted. Whether it stops, 'zpkctl status' tells."
                                             : session.refusal().value_or("The backup helper does not answer."));
    return kNotDone;
  }
  const auto wait = session.waitUntil(
      [](const Dictionary& status) { return statuskey::state.read(status) != HelperState::inProgress; },
      kLongestStop);
  if (wait == HelperSession::Wait::over) {
    console.say("It has stopped.");
    return kDone;
  }
  console.complain(wait == HelperSession::Wait::timedOut || wait == HelperSession::Wait::interrupted
                       ? "It was told to stop, and has not stopped yet."
                       : waitFailure(wait, "what it was to stop"));
  return kNotDone;
}

}  // namespace zpk::ctl
