#include "platform/linux/link/OwnConnectionCall.h"

#include <functional>
#include <string>

namespace zpk {
namespace {

using Clock = BusConnection::Clock;

class OwnConnection {
 public:
  OwnConnection(LinkCore& core, const BusPeer& peer, const DBusMember& called)
      : _core(core), _peer(peer), _called(called) {
    _connection = BusConnection::start(
        core.surroundings().bus,
        [this](std::string_view sender, std::uint8_t) { return sender == _peer.uniqueName; },
        [this] { _core.countStranger(); });
    if (!_connection) fail("no bus");
  }

  void connect() {
    wait([this](sd_bus_message*) { return _connection->isReady(); }, _core.surroundings().times.connect);
    if (_connection->busId() != _peer.busId) fail("the helper's bus is gone");
  }

  BusMessageHandle exchange(const LinkCore::Fill& fill, LinkCore::Duration atMost) {
    const BusMessageHandle call =
        _connection->newCall(_peer.uniqueName, kHelperObjectPath, kDaemonInterface, _called.name);
    if (!call || (fill && fill(call.get()) < 0)) fail("cannot be put in a message");
    const std::optional<std::uint64_t> sent = _connection->send(call.get());
    if (!sent) fail("could not be sent");
    BusMessageHandle reply = wait([&](sd_bus_message* message) { return answers(message, *sent); }, atMost);
    if (const auto error = errorTextOf(reply.get())) fail(*error);
    return reply;
  }

 private:
  [[noreturn]] void fail(const std::string& why) const {
    throw LinkException(std::string(_called.name) + ": " + why);
  }

  bool answers(sd_bus_message* message, std::uint64_t call) const {
    std::uint64_t cookie = 0;
    return message != nullptr && sd_bus_message_get_reply_cookie(message, &cookie) >= 0 && cookie == call &&
           mayAnswerFor(message, _peer.uniqueName);
  }

  // Takes messages until `over`, which is asked about each of them; the one it was over with.
  BusMessageHandle wait(const std::function<bool(sd_bus_message*)>& over, LinkCore::Duration atMost) {
    const auto deadline = Clock::now() + atMost;
    while (!_core.closing().isWoken()) {
      BusConnection::Taken taken = _connection->take();
      if (over(taken.message.get())) return std::move(taken.message);
      if (taken.step == BusConnection::Step::lost) fail("the connection to the bus was lost");
      const auto now = Clock::now();
      if (now >= deadline) fail("no reply in time");
      if (taken.step == BusConnection::Step::nothing) {
        waitForConnection(*_connection, deadline - now, _core.closing().descriptor());
      }
    }
    fail("the link was closed");
  }

  LinkCore& _core;
  const BusPeer& _peer;
  const DBusMember& _called;
  std::unique_ptr<BusConnection> _connection;
};

}  // namespace

BusMessageHandle callOnOwnConnection(LinkCore& core, const BusPeer& peer, const DBusMember& called,
                                     const LinkCore::Fill& fill, LinkCore::Duration atMost) {
  OwnConnection connection(core, peer, called);
  connection.connect();
  return connection.exchange(fill, atMost);
}

}  // namespace zpk
