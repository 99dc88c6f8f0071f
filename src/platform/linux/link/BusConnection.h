#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/linux/wire/BusHandles.h"
#include "platform/linux/wire/DBusNames.h"

namespace zpk {

// Which bus a link uses.
enum class WhichBus { session, system };

// Where to find a bus: the usual place of `which`, or `address` ("unix:path=/…") when it is not empty.
struct BusEndpoint {
  WhichBus which = WhichBus::system;
  std::string address;
};

// Begins to connect, without waiting; null when there is no bus there.
BusHandle openedBus(const BusEndpoint& endpoint);

// The bus's own name: the sender of its signals and of the errors that it makes for dead peers. It is the one
// well-known name that can stand as a sender, because the bus stamps every message with its sender's unique name.
inline constexpr const char* kBusDriver = "org.freedesktop.DBus";
inline constexpr const char* kBusDriverPath = "/org/freedesktop/DBus";

// One end of the link as it can be told to another connection: unique names are never used twice on a bus, and the
// bus's identifier tells one bus from another that took over its address.
struct BusPeer {
  std::string uniqueName;
  std::string busId;
  friend bool operator==(const BusPeer&, const BusPeer&) = default;
};

// One connection to a bus, without a thread or a run loop: whoever owns it waits on `descriptor()` for `events()`
// and calls `take()` until it gives nothing. Nothing here blocks. One thread at a time.
//
// Every message passes the gate first: unless the bus itself or a sender that the gate knows sent it, it is dropped
// before anything in it is read, counted, and answered with an access-denied error when it is a call.
class BusConnection {
 public:
  // Whether `sender` may send a message of this type (SD_BUS_MESSAGE_…).
  using Gate = std::function<bool(std::string_view sender, std::uint8_t type)>;
  using Clock = std::chrono::steady_clock;

  // Begins to connect; null when there is no bus at the endpoint. `strangers` counts what the gate keeps out.
  static std::unique_ptr<BusConnection> start(const BusEndpoint& endpoint, Gate gate,
                                              std::function<void()> strangerDropped);
  BusConnection(const BusConnection&) = delete;
  BusConnection& operator=(const BusConnection&) = delete;

  // Connected, authenticated and named.
  bool isReady() const;
  // How long ago connecting began.
  Clock::duration age() const { return Clock::now() - _started; }
  // Of a connection that is ready.
  const std::string& busId() const { return _busId; }

  int descriptor() const;
  // Of poll(2): what `take()` waits for.
  short events() const;

  enum class Step {
    nothing,   // nothing to do until the descriptor is ready
    progress,  // something was done: take again
    lost,      // the connection is gone for good
  };
  struct Taken {
    Step step = Step::nothing;
    BusMessageHandle message;  // one that passed the gate, or null
  };
  Taken take();

  // A call of `destination`, to be filled and sent. Null when the connection is gone.
  BusMessageHandle newCall(const std::string& destination, const char* path, const char* interface,
                           const char* member) const;
  // Sends what it can and queues the rest. The call's cookie, which the reply will name; nothing when the
  // connection is gone or its queue is full.
  std::optional<std::uint64_t> send(sd_bus_message* call);

 private:
  BusConnection(BusHandle bus, Gate gate, std::function<void()> strangerDropped);
  static int received(sd_bus_message* message, void* self, sd_bus_error* error);
  void turnAway(sd_bus_message* message);
  void noteIdentity();

  Gate _gate;
  std::function<void()> _strangerDropped;
  Clock::time_point _started = Clock::now();
  std::string _busId;
  BusMessageHandle _received;
  BusHandle _bus;
  BusSlotHandle _filter;
};

// Waits until the connection's descriptor is ready or `atMost` is over; also until `wake`, unless it is -1, can be
// read.
void waitForConnection(const BusConnection& connection, BusConnection::Clock::duration atMost, int wake = -1);

// Whether `reply` may answer a call of `peer`: the peer answered itself, or the bus tells that it cannot.
bool mayAnswerFor(sd_bus_message* reply, std::string_view peer);

// The text of an error reply, cut to what a log line takes; nothing for any other message.
std::optional<std::string> errorTextOf(sd_bus_message* reply);

}  // namespace zpk
