#pragma once

#include <optional>
#include <string>
#include <vector>

#include "helperlink/LinkWorld.h"
#include "support/StatusBuilder.h"
#include "tools/zpkctl/Console.h"
#include "tools/zpkctl/HelperSession.h"
#include "tools/zpkctl/Maintenance.h"

namespace zpk::ctl {

// Keeps what was said.
class RecordingConsole final : public Console {
 public:
  void say(std::string_view text) override { said.emplace_back(text); }
  void complain(std::string_view text) override { complained.emplace_back(text); }
  void showProgress(std::string_view text) override { progress.emplace_back(text); }

  std::vector<std::string> said;
  std::vector<std::string> complained;
  std::vector<std::string> progress;
};

// A helper whose maintenance answers what the test says.
class FakeMaintenance final : public Maintenance {
 public:
  Expected<std::uint32_t, std::string> verify() override { return answer; }
  Expected<Dictionary, std::string> lastVerification() override { return report; }
  Expected<Dictionary, std::string> pointHealth() override { return health; }

  Expected<std::uint32_t, std::string> answer{std::uint32_t{0}};
  Expected<Dictionary, std::string> report{Dictionary()};
  Expected<Dictionary, std::string> health{Dictionary()};
};

// A session in virtual time with a helper that is there, idle, and does what the test says.
struct SessionWorld : LinkWorld {
  SessionWorld() {
    transport.helperAppears();
    nowIs(readyStatus());
  }

  // The helper's state when it is asked.
  void nowIs(Dictionary status) { helper().answer("status", Value(std::move(status))); }
  // Its state from `delay` on, which it also tells.
  void soonIs(Seconds delay, const Dictionary& status) {
    loop.performAfterDelay(delay, [this, status] { nowIs(status); });
    transport.pushAfter(delay, status);
  }
  bool connect() { return !session.connect(Seconds(3)); }

  std::optional<ZPKDaemon> daemon;
  HelperSession session{{transport, notificationCenter, loop, [this]() -> ZPKDaemon& {
                           if (!daemon) daemon.emplace(environment());
                           return *daemon;
                         }}};
  RecordingConsole console;
};

inline Dictionary runningBackup(double percent, std::uint64_t elapsed) {
  Dictionary status = backupStatus(percent, {});
  statuskey::elapsedTime.set(status, elapsed);
  return status;
}

inline Dictionary runningVerification(double percent) {
  Dictionary status = runningBackup(percent, 5);
  status.set(statuskey::progressType.key, Value(std::int32_t{3}));
  return status;
}

inline Dictionary busyStatus() {
  Dictionary status = readyStatus();
  statuskey::state.set(status, HelperState::busy);
  return status;
}

inline Dictionary failedStatus(const std::string& error) {
  Dictionary status = readyStatus();
  statuskey::lastBackupError.set(status, error);
  return status;
}

}  // namespace zpk::ctl
