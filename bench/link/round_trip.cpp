// What a command through the whole link costs: `reload` from ZPKDaemon to the real helper and back, beside the
// least that a round trip to the same process over the same bus can cost, a ping by sd-bus alone.
//
//   bench_round_trip [ROUNDS]
//
// On a session bus of its own with the helper on it; bench/run sets that up. The two alternate, so that both meet
// the same noise; figures are medians.

#include <systemd/sd-bus.h>

#include <QCoreApplication>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <vector>

#include "base/NotificationCenter.h"
#include "helperlink/ZPKDaemon.h"
#include "platform/linux/link/DBusLinkTransport.h"
#include "platform/linux/wire/BusHandles.h"
#include "platform/linux/wire/DBusNames.h"
#include "platform/posix/Log_posix.h"
#include "platform/qt/QtRunLoop.h"
#include "records/RecordClasses.h"

namespace zpk::bench {
namespace {

using Clock = std::chrono::steady_clock;
using Microseconds = std::chrono::duration<double, std::micro>;

constexpr auto kPatience = std::chrono::seconds(10);

BusHandle bareBus() {
  sd_bus* opened = nullptr;
  return sd_bus_open_user(&opened) < 0 ? nullptr : BusHandle(opened);
}

bool ping(sd_bus* bus) {
  sd_bus_message* made = nullptr;
  if (sd_bus_message_new_method_call(bus, &made, kHelperBusName, kHelperObjectPath, "org.freedesktop.DBus.Peer",
                                     "Ping") < 0)
    return false;
  const BusMessageHandle call(made);
  sd_bus_message* answer = nullptr;
  const int answered = sd_bus_call(bus, call.get(), 0, nullptr, &answer);
  const BusMessageHandle owner(answer);
  return answered >= 0;
}

// The time of one call in microseconds; nothing when it failed.
template <class Call>
std::optional<double> timed(Call call) {
  const Clock::time_point begin = Clock::now();
  const bool succeeded = call();
  const Microseconds taken = Clock::now() - begin;
  return succeeded ? std::optional(taken.count()) : std::nullopt;
}

double median(std::vector<double> figures) {
  std::nth_element(figures.begin(), figures.begin() + static_cast<std::ptrdiff_t>(figures.size() / 2),
                   figures.end());
  return figures[figures.size() / 2];
}

bool waitForHelper(ZPKDaemon& daemon, RunLoop& loop) {
  const Clock::time_point deadline = Clock::now() + kPatience;
  while (!daemon.isHelperReachable() && Clock::now() < deadline) {
    loop.runFor(Seconds(0.05));
    daemon.reconnect();
  }
  return daemon.isHelperReachable();
}

int measure(int rounds) {
  PosixLog log("bench");
  QtRunLoop loop;
  NotificationCenter notifications;
  DBusLinkTransport transport({.loop = loop,
                               .watcher = loop,
                               .log = log,
                               .classes = recordClasses(),
                               .bus = {.which = WhichBus::session, .address = {}}});
  ZPKDaemon daemon({transport, notifications, loop, log});
  const BusHandle bare = bareBus();
  if (!bare || !waitForHelper(daemon, loop)) return std::fprintf(stderr, "no helper on the session bus\n"), 1;

  std::vector<double> pings;
  std::vector<double> reloads;
  for (int round = 0; round < rounds; ++round) {
    const std::optional<double> plain = timed([&] { return ping(bare.get()); });
    const std::optional<double> command = timed([&] { return !daemon.reload().isNull(); });
    if (!plain || !command) return std::fprintf(stderr, "the helper did not answer\n"), 1;
    pings.push_back(*plain);
    reloads.push_back(*command);
  }
  const double least = median(pings);
  const double ours = median(reloads);
  std::printf("ping %.1f us, reload %.1f us, ratio %.2f\n", least, ours, ours / least);
  return 0;
}

}  // namespace
}  // namespace zpk::bench

int main(int argc, char** argv) {
  QCoreApplication application(argc, argv);
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 2000;
  if (rounds > 0) return zpk::bench::measure(rounds);
  std::fprintf(stderr, "usage: bench_round_trip [ROUNDS]\n");
  return 2;
}
