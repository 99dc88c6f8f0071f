#pragma once

#include <functional>
#include <optional>
#include <string>

#include "helperlink/ZPKDaemonController.h"

namespace zpk::ctl {

// The conversation of one command with the helper: subscribed like a window, but waiting for what it wants to hear.
//
// Nothing waits without an end: every wait has a limit, a helper that goes away or falls silent ends it, and so
// does interrupt(). Main thread.
class HelperSession final : public ZPKDaemonController {
 public:
  // A helper may be busy for this long with its start, with reading its disks and its archive, or with what another
  // caller wants from it.
  static constexpr Seconds kLongestBusy{30.0};

  explicit HelperSession(ZPKDaemonControllerEnvironment environment);

  // Subscribes, and waits for a helper that is not there yet (the system may be starting it) for `patience` at the
  // most. What went wrong, in plain words.
  std::optional<std::string> connect(Seconds patience);

  // Of a session that is connected.
  ZPKDaemon& helper() { return *daemon(); }

  // The helper's state as it is now, asked for; null when it does not answer.
  std::shared_ptr<const Dictionary> newestStatus();

  // Why the helper did not even answer a command that was sent after beginListening(): what it told this session
  // alone, which it does of one that this user may not give. Nothing when it told nothing of the kind within a
  // second.
  void beginListening() { _toldError.reset(); }
  std::optional<std::string> refusal();

  enum class Wait {
    over,          // the condition holds
    timedOut,      // `atMost` is over
    helperGone,    // it left the bus, whether another one is there now or not
    helperSilent,  // it is there and does not answer
    interrupted,
  };
  // Until `isOver` holds of a status: of the state as it is now, and then of every one that the helper tells, until
  // the first that it holds of. A helper that has been silent for a while is asked.
  using Condition = std::function<bool(const Dictionary& status)>;
  Wait waitUntil(const Condition& isOver, std::optional<Seconds> atMost = std::nullopt);

  // Ends the waits, those of a daemon's retries too.
  void interrupt();
  bool isInterrupted() const { return _interrupted; }

  void stateChangedWithStatus(const Dictionary& status) override;

 private:
  class Waiting;

  std::optional<Wait> endOf(const Waiting& waiting);
  Wait notAnswered();
  void awaitNews(const std::function<bool()>& isThere);

  Token _presence;
  Waiting* _waiting = nullptr;
  std::optional<std::string> _toldError;
  bool _helperLeft = false;
  bool _interrupted = false;
  Seconds _lastHeard{0};
};

}  // namespace zpk::ctl
