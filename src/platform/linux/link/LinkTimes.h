#pragma once

#include <chrono>
#include <string_view>

namespace zpk {

// The run-loop mode in which a command on the main thread waits: windows paint and take no input.
inline constexpr std::string_view kLinkWaitMode = "linkWait";

// How long the link waits for what. The defaults are the program's; tests shorten them.
struct LinkTimes {
  using Duration = std::chrono::steady_clock::duration;

  // For the reply of a command, and of collectLogsToPath, for which the helper packs whole system logs.
  Duration command = std::chrono::seconds(60);
  Duration collectLogs = std::chrono::minutes(10);
  // For the bus's own answers.
  Duration lookup = std::chrono::seconds(2);
  // For a bus to accept the connection: how long one look-up of a port waits for it, and how long a connection may
  // take in all before it is given up and the next look-up begins anew.
  Duration connectPatience = std::chrono::seconds(1);
  Duration connect = std::chrono::seconds(10);
  // After this, and without a call of the helper's meanwhile, it counts as not answering. One that waits for the
  // user's password calls every second.
  Duration notAnswering = std::chrono::seconds(3);
  // A command first waits on the bus alone, which is faster than a turn of the run loop and too short to be seen.
  Duration directWait = std::chrono::milliseconds(10);
};

}  // namespace zpk
