#include "tools/zpkctl/HelperSession.h"

#include <algorithm>
#include <utility>

#include "helperlink/StatusRecord.h"

namespace zpk::ctl {
namespace {

// While an operation runs the helper tells something every second; while it is busy with a slow disk it may not.
constexpr Seconds kSilence{10.0};
// A command fails a moment before the bus tells that its helper is gone, or the helper why it refused it.
constexpr Seconds kNewsOfFailure{1.0};

}  // namespace

// One wait, registered with its session while it lasts: every push is looked at as it comes, since a turn of the
// loop may bring several.
class HelperSession::Waiting {
 public:
  Waiting(HelperSession& session, const Condition& isOver) : _session(session), _isOver(isOver) {
    _session._waiting = this;
  }
  Waiting(const Waiting&) = delete;
  Waiting& operator=(const Waiting&) = delete;
  ~Waiting() { _session._waiting = nullptr; }

  void look(const Dictionary& status) { _over = _over || _isOver(status); }
  bool isOver() const { return _over; }

 private:
  HelperSession& _session;
  const Condition& _isOver;
  bool _over = false;
};

HelperSession::HelperSession(ZPKDaemonControllerEnvironment environment)
    : ZPKDaemonController(std::move(environment)) {
  _presence = observe("helperReachable", [this] {
    if (!isHelperReachable()) _helperLeft = true;
  });
}

std::optional<std::string> HelperSession::connect(Seconds patience) {
  applicationDidFinishLaunching();
  const Seconds end = runLoop().now() + patience;
  while (!isHelperReachable() && !_interrupted && runLoop().now() < end) {
    runLoop().runInMode(kDefaultRunLoopMode, end - runLoop().now());
  }
  if (!isHelperReachable()) return "The backup helper is not running.";
  _helperLeft = false;
  _lastHeard = runLoop().now();
  return std::nullopt;
}

std::shared_ptr<const Dictionary> HelperSession::newestStatus() {
  const Value answer = helper().status();
  const Dictionary* status = answer.dictionary();
  if (!status) return nullptr;
  _lastHeard = runLoop().now();
  return std::make_shared<const Dictionary>(*status);
}

HelperSession::Wait HelperSession::waitUntil(const Condition& isOver, std::optional<Seconds> atMost) {
  const Seconds end = atMost ? runLoop().now() + *atMost : Seconds::max();
  Waiting waiting(*this, isOver);
  bool ask = true;
  while (true) {
    if (ask) {
      const auto status = newestStatus();
      if (!status) return waiting.isOver() ? Wait::over : notAnswered();
      waiting.look(*status);
    }
    if (const auto ended = endOf(waiting)) return *ended;
    if (runLoop().now() >= end) return Wait::timedOut;
    const Seconds wake = std::min(end, _lastHeard + kSilence);
    runLoop().runInMode(kDefaultRunLoopMode, wake - runLoop().now());
    if (const auto ended = endOf(waiting)) return *ended;
    ask = runLoop().now() - _lastHeard >= kSilence;
  }
}

std::optional<HelperSession::Wait> HelperSession::endOf(const Waiting& waiting) {
  // First: what a helper told last may be what was waited for.
  if (waiting.isOver()) return Wait::over;
  if (_helperLeft) return Wait::helperGone;
  if (_interrupted) return Wait::interrupted;
  return std::nullopt;
}

void HelperSession::awaitNews(const std::function<bool()>& isThere) {
  const Seconds end = runLoop().now() + kNewsOfFailure;
  while (!isThere() && !_interrupted && runLoop().now() < end) {
    runLoop().runInMode(kDefaultRunLoopMode, end - runLoop().now());
  }
}

std::optional<std::string> HelperSession::refusal() {
  awaitNews([this] { return _toldError || _helperLeft; });
  return _toldError;
}

HelperSession::Wait HelperSession::notAnswered() {
  awaitNews([this] { return _helperLeft; });
  if (_helperLeft) return Wait::helperGone;
  return _interrupted ? Wait::interrupted : Wait::helperSilent;
}

void HelperSession::interrupt() {
  _interrupted = true;
  runLoop().stop();
}

void HelperSession::stateChangedWithStatus(const Dictionary& status) {
  _lastHeard = runLoop().now();
  if (auto error = statuskey::opError.read(status)) _toldError = std::move(error);
  ZPKDaemonController::stateChangedWithStatus(status);
  if (_waiting) _waiting->look(status);
}

}  // namespace zpk::ctl
