#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <thread>

#include "base/Log.h"
#include "base/RunLoop.h"
#include "platform/linux/link/BusConnection.h"
#include "platform/linux/link/DBusLinkTransport.h"
#include "platform/linux/link/IncomingQueue.h"
#include "platform/linux/link/NamePresence.h"
#include "platform/linux/link/ObserverList.h"
#include "platform/linux/link/WakeUp.h"

namespace zpk {

// The link's one connection for the main thread, and everything that waits on it: calls for their replies,
// callbacks for their delivery, observers for news. Shared by the transport and the proxies and ports it gave out;
// after close() every call fails.
//
// Messages are taken off the bus one at a time and what they bring is delivered before the next is taken, so that a
// callback which the helper sent before its reply is served before the command returns. Main thread, but for the
// members that say otherwise.
class LinkCore : public std::enable_shared_from_this<LinkCore> {
 public:
  // Puts a call's arguments in; answers below 0 when they cannot be sent.
  using Fill = std::function<int(sd_bus_message*)>;
  using Duration = BusConnection::Clock::duration;

  explicit LinkCore(DBusLinkSurroundings surroundings);
  LinkCore(const LinkCore&) = delete;
  LinkCore& operator=(const LinkCore&) = delete;
  ~LinkCore() { close(); }

  // Ends the connection; everything that waits, on any thread, fails.
  void close();

  // The peer that owns `busName` now. Connects to the bus when need be. Nothing also when the owner is not the user
  // whom the link requires. Without an owner the bus is asked to start one, for which nothing waits: once it is
  // there, the presence observers are told.
  std::optional<BusPeer> ownerOf(const std::string& busName);

  // Calls the helper `peer` and gives its reply, which is no error. Throws LinkException.
  BusMessageHandle call(const BusPeer& peer, const DBusMember& called, const Fill& fill, Duration atMost);

  // From now on this peer's calls pass the gate, and no other's.
  void speakTo(const BusPeer& peer) { _helper = peer; }

  IncomingQueue& incoming() { return _incoming; }
  // Has what waits delivered on the next turn of the run loop's default mode, if not before.
  void deliverSoon();

  Token observePresence(const std::string& busName, std::function<void(bool)> changed);
  Token observeAnswering(std::function<void(bool)> changed) { return _answering.add(std::move(changed)); }

  // Any thread.
  bool isMainThread() const { return std::this_thread::get_id() == _mainThread; }
  const DBusLinkSurroundings& surroundings() const { return _surroundings; }
  const WakeUp& closing() const { return _closing; }
  void countStranger() { _strangers.fetch_add(1, std::memory_order_relaxed); }
  std::uint64_t strangers() const { return _strangers.load(std::memory_order_relaxed); }

 private:
  // A call that waits for its reply. `reply` stays null when the connection is lost.
  struct PendingCall {
    std::string peer;
    bool done = false;
    BusMessageHandle reply;
    std::function<void(sd_bus_message*)> whenDone;
  };

  bool ensureConnected();
  void connectionReady();
  void connectionLost();
  bool passes(std::string_view sender, std::uint8_t type) const;

  std::shared_ptr<PendingCall> begin(const std::string& destination, sd_bus_message* call,
                                     std::function<void(sd_bus_message*)> whenDone = {});
  BusMessageHandle exchange(const std::string& destination, const char* member, sd_bus_message* call,
                            Duration atMost);
  BusMessageHandle newDriverCall(const char* member, const std::string& argument) const;
  BusMessageHandle askDriver(const char* member, const std::string& argument);
  void haveStarted(const std::string& busName);

  class Wait;
  bool waitUntil(const std::function<bool()>& over, Duration atMost);

  bool takeOne();
  void sort(BusMessageHandle message);
  void replyArrived(BusMessageHandle reply);
  void signalArrived(sd_bus_message* signal);
  void serve();
  void descriptorReady();
  void updateWatches();

  void learnPresence(const std::string& busName);

  const DBusLinkSurroundings _surroundings;
  const std::thread::id _mainThread = std::this_thread::get_id();
  WakeUp _closing;
  std::atomic<std::uint64_t> _strangers{0};
  bool _closed = false;

  IncomingQueue _incoming;
  NamePresence _presence;
  ObserverList<bool> _answering;
  int _lateWaits = 0;
  int _waits = 0;
  bool _deliveryPlanned = false;

  std::optional<BusPeer> _helper;
  // When a call of the helper's came last: one that calls is not one that does not answer.
  BusConnection::Clock::time_point _lastHeard{};
  std::map<std::uint64_t, std::shared_ptr<PendingCall>> _pending;
  // Names whose owner the bus was asked to start and has not answered for yet.
  std::set<std::string> _starting;
  std::unique_ptr<BusConnection> _connection;
  int _watchedDescriptor = -1;
  Token _readable;
  Token _writable;
};

}  // namespace zpk
