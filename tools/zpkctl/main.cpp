// The program's entry point: everything put together, and one command done.

#include <cstdio>
#include <exception>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "base/NotificationCenter.h"
#include "helperlink/ZPKDaemon.h"
#include "platform/linux/link/DBusLinkTransport.h"
#include "platform/posix/Log_posix.h"
#include "platform/posix/PollRunLoop.h"
#include "records/RecordClasses.h"
#include "tools/zpkctl/BusMaintenance.h"
#include "tools/zpkctl/CommandLine.h"
#include "tools/zpkctl/Commands.h"
#include "tools/zpkctl/InterruptSignals.h"
#include "tools/zpkctl/Terminal.h"

namespace zpk::ctl {
namespace {

constexpr int kUsageMistake = 2;
constexpr int kSignalBase = 128;

// The system starts the helper when it is looked for, and at log-in the machine may be slow; on a session bus it is
// there or it is not.
constexpr Seconds kSystemPatience{30.0};
constexpr Seconds kSessionPatience{3.0};

// The link's log: shown when that was asked for, else kept for its last failure, which may be why the user's
// command failed (no right to command the helper, say).
class LinkLog final : public Log {
 public:
  explicit LinkLog(bool isShown) : _isShown(isShown) {}

  void line(std::string_view text) override {
    if (_isShown) _shown.line(text);
    constexpr std::string_view kFailure = "ZPKD::Exc: ";
    if (text.starts_with(kFailure)) _lastFailure = text.substr(kFailure.size());
  }
  // Empty when there was none, or when it was shown already.
  std::string failureToTell() const { return _isShown ? std::string() : _lastFailure; }

 private:
  const bool _isShown;
  PosixLog _shown{"zpkctl"};
  std::string _lastFailure;
};

int run(const RunCommand& command, HelperSession& session, Console& console) {
  const Form form = command.json ? Form::json : Form::words;
  BusMaintenance maintenance(command.sessionBus);
  switch (command.verb) {
    case Verb::backup:
      return runBackup(session, console);
    case Verb::status:
      return runStatus(session, console, form);
    case Verb::list:
      return runList(session, maintenance, console, form);
    case Verb::verify:
      return runVerify(session, maintenance, console, form);
    case Verb::stop:
      return runStop(session, console);
  }
  return kNotDone;
}

// In the order in which each needs the ones before it.
int runConnected(const RunCommand& command) {
  LinkLog linkLog(command.verbose);
  PollRunLoop loop;
  NotificationCenter notificationCenter;
  const BusEndpoint bus{.which = command.sessionBus ? WhichBus::session : WhichBus::system, .address = {}};
  DBusLinkTransport transport(
      {.loop = loop, .watcher = loop, .log = linkLog, .classes = recordClasses(), .bus = bus});
  std::optional<ZPKDaemon> daemon;
  const auto connectedDaemon = [&]() -> ZPKDaemon& {
    if (!daemon) daemon.emplace(ZPKDaemonEnvironment{transport, notificationCenter, loop, linkLog});
    return *daemon;
  };
  HelperSession session({transport, notificationCenter, loop, connectedDaemon});
  const InterruptSignals signals(loop, [&] {
    session.interrupt();
    // A helper that hangs would keep the command that waits for it for a minute.
    transport.close();
  });
  Terminal terminal;

  int status = kNotDone;
  if (const auto problem = session.connect(command.sessionBus ? kSessionPatience : kSystemPatience)) {
    terminal.complain(session.isInterrupted() ? "Interrupted." : *problem);
  } else {
    status = run(command, session, terminal);
    const std::string failure = linkLog.failureToTell();
    if (status != kDone && !failure.empty() && !session.isInterrupted())
      terminal.complain("The link failed: " + failure);
  }
  if (!terminal.flush() && status == kDone) status = kNotDone;
  return status != kDone && signals.signal() != 0 ? kSignalBase + signals.signal() : status;
}

int start(const CommandLine& commandLine) {
  if (const auto* mistake = std::get_if<UsageMistake>(&commandLine)) {
    std::fprintf(stderr, "zpkctl: %s\n", mistake->message.c_str());
    return kUsageMistake;
  }
  if (std::holds_alternative<ShowHelp>(commandLine)) return std::fputs(helpText().c_str(), stdout) < 0;
  if (std::holds_alternative<ShowVersion>(commandLine)) return std::puts("zpkctl " ZPK_VERSION) < 0;
  return runConnected(std::get<RunCommand>(commandLine));
}

}  // namespace
}  // namespace zpk::ctl

int main(int argc, char** argv) {
  try {
    return zpk::ctl::start(zpk::ctl::parseCommandLine({argv + (argc > 0 ? 1 : 0), argv + argc}));
  } catch (const std::exception& problem) {
    std::fprintf(stderr, "zpkctl: %s\n", problem.what());
    return zpk::ctl::kNotDone;
  }
}
