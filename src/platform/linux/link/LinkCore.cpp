#include "platform/linux/link/LinkCore.h"

#include <poll.h>

#include <algorithm>
#include <utility>

namespace zpk {
namespace {

using Clock = BusConnection::Clock;

// Messages taken in one go before the run loop gets its turn.
constexpr int kMessagesPerTurn = 64;

bool isReply(std::uint8_t type) {
  return type == SD_BUS_MESSAGE_METHOD_RETURN || type == SD_BUS_MESSAGE_METHOD_ERROR;
}

// The one value of a successful reply of the bus; false for any other message.
template <class T>
bool readAnswer(sd_bus_message* reply, char type, T& value) {
  return reply != nullptr && sd_bus_message_is_method_error(reply, nullptr) <= 0 &&
         sd_bus_message_read_basic(reply, type, &value) > 0;
}

}  // namespace

LinkCore::LinkCore(DBusLinkSurroundings surroundings)
    : _surroundings(std::move(surroundings)), _incoming(_surroundings.log, _surroundings.classes) {}

void LinkCore::close() {
  _closed = true;
  _closing.wake();
  connectionLost();
}

// Connecting

bool LinkCore::ensureConnected() {
  if (_closed) return false;
  if (_connection && _connection->isReady()) return true;
  if (_connection && _connection->age() > _surroundings.times.connect) connectionLost();
  if (!_connection) {
    _connection = BusConnection::start(
        _surroundings.bus, [this](std::string_view sender, std::uint8_t type) { return passes(sender, type); },
        [this] { countStranger(); });
    if (!_connection) return false;
    updateWatches();
  }
  waitUntil([this] { return !_connection || _connection->isReady(); }, _surroundings.times.connectPatience);
  return _connection && _connection->isReady();
}

void LinkCore::connectionReady() {
  for (const std::string& name : _presence.names()) learnPresence(name);
}

void LinkCore::connectionLost() {
  _readable.reset();
  _writable.reset();
  _watchedDescriptor = -1;
  _incoming.dropCalls();
  // The waiting calls end first, so that nothing that is told below finds them half alive.
  for (const auto& [cookie, pending] : std::exchange(_pending, {})) {
    pending->done = true;
    if (pending->whenDone) pending->whenDone(nullptr);
  }
  _connection.reset();
  _presence.connectionLost();
  if (_closed) return;
  for (const std::string& name : _presence.names()) {
    if (!_presence.isPresent(name)) continue;
    _presence.note(name, false);
    _incoming.newsArrived([this, name] { _presence.tell(name, false); });
  }
}

bool LinkCore::passes(std::string_view sender, std::uint8_t type) const {
  if (_helper && _helper->uniqueName == sender && _connection && _helper->busId == _connection->busId())
    return true;
  // A proxy of an earlier helper may still wait for its reply.
  return isReply(type) && std::any_of(_pending.begin(), _pending.end(),
                                      [&](const auto& entry) { return entry.second->peer == sender; });
}

// Calling

std::shared_ptr<LinkCore::PendingCall> LinkCore::begin(const std::string& destination, sd_bus_message* call,
                                                       std::function<void(sd_bus_message*)> whenDone) {
  const std::optional<std::uint64_t> cookie = _connection->send(call);
  if (!cookie) return nullptr;
  auto pending = std::make_shared<PendingCall>();
  pending->peer = destination;
  pending->whenDone = std::move(whenDone);
  _pending.emplace(*cookie, pending);
  updateWatches();
  return pending;
}

BusMessageHandle LinkCore::exchange(const std::string& destination, const char* member, sd_bus_message* call,
                                    Duration atMost) {
  const std::shared_ptr<PendingCall> pending = begin(destination, call);
  if (!pending) throw LinkException(std::string(member) + ": could not be sent");
  waitUntil([&] { return pending->done; }, atMost);
  std::erase_if(_pending, [&](const auto& entry) { return entry.second == pending; });
  if (!pending->done) throw LinkException(std::string(member) + ": no reply in time");
  if (!pending->reply) throw LinkException(std::string(member) + ": the connection to the bus was lost");
  return std::move(pending->reply);
}

BusMessageHandle LinkCore::call(const BusPeer& peer, const DBusMember& called, const Fill& fill, Duration atMost) {
  const auto self = shared_from_this();
  if (!_connection || !_connection->isReady() || _connection->busId() != peer.busId) {
    throw LinkException(std::string(called.name) + ": the helper's bus is gone");
  }
  const BusMessageHandle message =
      _connection->newCall(peer.uniqueName, kHelperObjectPath, kDaemonInterface, called.name);
  if (!message || (fill && fill(message.get()) < 0)) {
    throw LinkException(std::string(called.name) + ": cannot be put in a message");
  }
  BusMessageHandle reply = exchange(peer.uniqueName, called.name, message.get(), atMost);
  if (const auto error = errorTextOf(reply.get())) throw LinkException(std::string(called.name) + ": " + *error);
  return reply;
}

BusMessageHandle LinkCore::newDriverCall(const char* member, const std::string& argument) const {
  BusMessageHandle call = _connection->newCall(kBusDriver, kBusDriverPath, kBusDriver, member);
  if (!call || sd_bus_message_append_basic(call.get(), 's', argument.c_str()) < 0) return nullptr;
  return call;
}

BusMessageHandle LinkCore::askDriver(const char* member, const std::string& argument) {
  const BusMessageHandle call = _connection ? newDriverCall(member, argument) : nullptr;
  if (!call) return nullptr;
  try {
    return exchange(kBusDriver, member, call.get(), _surroundings.times.lookup);
  } catch (const LinkException& failure) {
    _surroundings.log.line(std::string("Link::") + failure.what());
    return nullptr;
  }
}

// Calls go to unique names, for which no bus starts anything; so the start has to be asked for. A bus that knows no
// such service says so, which is no news: then somebody else starts the helper.
void LinkCore::haveStarted(const std::string& busName) {
  const BusMessageHandle call = _connection ? newDriverCall("StartServiceByName", busName) : nullptr;
  const std::uint32_t noFlags = 0;
  if (!call || sd_bus_message_append_basic(call.get(), 'u', &noFlags) < 0) return;
  if (!_starting.insert(busName).second) return;
  const auto begun = begin(kBusDriver, call.get(), [this, busName](sd_bus_message* answer) {
    _starting.erase(busName);
    if (answer == nullptr || sd_bus_message_is_method_error(answer, SD_BUS_ERROR_SERVICE_UNKNOWN) > 0) return;
    if (const auto error = errorTextOf(answer))
      _surroundings.log.line("Link::" + busName + " cannot be started: " + *error);
  });
  if (!begun) _starting.erase(busName);
}

std::optional<BusPeer> LinkCore::ownerOf(const std::string& busName) {
  const auto self = shared_from_this();
  if (sd_bus_service_name_is_valid(busName.c_str()) <= 0 || !ensureConnected()) return std::nullopt;
  const std::string busId = _connection->busId();
  const BusMessageHandle answer = askDriver("GetNameOwner", busName);
  const char* owner = nullptr;
  const bool owned = readAnswer(answer.get(), 's', owner);
  if (answer) _presence.note(busName, owned);
  if (!owned) {
    if (answer) haveStarted(busName);
    return std::nullopt;
  }

  if (const std::optional<uid_t> required = _surroundings.requiredOwner) {
    const BusMessageHandle user = askDriver("GetConnectionUnixUser", owner);
    std::uint32_t uid = 0;
    if (!readAnswer(user.get(), 'u', uid) || uid != *required) {
      _surroundings.log.line("Link::" + busName + " is owned by another user");
      return std::nullopt;
    }
  }
  return BusPeer{owner, busId};
}

// Waiting

// One wait of the main thread. Waits nest: a callback delivered during one may send a command of its own.
class LinkCore::Wait {
 public:
  Wait(LinkCore& core, Duration atMost) : _core(core), _times(core._surroundings.times), _atMost(atMost) {
    ++_core._waits;
  }
  Wait(const Wait&) = delete;
  Wait& operator=(const Wait&) = delete;
  ~Wait() {
    --_core._waits;
    if (_late && --_core._lateWaits == 0) _core._answering.notify(true);
  }

  // Serves what there is, or pauses until there is something; false when the time is over.
  bool turn() {
    const auto now = Clock::now();
    if (now - _began >= _atMost) return false;
    if (now - lastHeard() >= _times.notAnswering && !_late) becomeLate();
    // However much comes in, the windows are painted.
    const bool loopIsDue = now - _lastLoopTurn >= kLongestWithoutLoop;
    if (_core._incoming.deliverNext(kLinkWaitMode) || _core.takeOne()) {
      if (loopIsDue) runLoop(Duration::zero());
    } else {
      pause(now);
    }
    return true;
  }

 private:
  static constexpr Duration kLongestWithoutLoop = std::chrono::milliseconds(30);

  Clock::time_point lastHeard() const { return std::max(_began, _core._lastHeard); }

  void becomeLate() {
    _late = true;
    if (++_core._lateWaits == 1) _core._answering.notify(false);
  }

  void pause(Clock::time_point now) {
    const Duration rest = _atMost - (now - _began);
    const Duration left = _late ? rest : std::min(rest, _times.notAnswering - (now - lastHeard()));
    const Duration direct = std::min(left, _times.directWait - (now - _began));
    if (direct <= Duration::zero()) {
      runLoop(left);
    } else if (_core._connection) {
      waitForConnection(*_core._connection, direct);
    }
  }

  void runLoop(Duration atMost) {
    _core.updateWatches();
    _core._surroundings.loop.runInMode(kLinkWaitMode, std::max(atMost, Duration::zero()));
    _lastLoopTurn = Clock::now();
  }

  LinkCore& _core;
  const LinkTimes& _times;
  const Duration _atMost;
  const Clock::time_point _began = Clock::now();
  Clock::time_point _lastLoopTurn = _began;
  bool _late = false;
};

bool LinkCore::waitUntil(const std::function<bool()>& over, Duration atMost) {
  {
    Wait wait(*this, atMost);
    while (!over() && wait.turn()) {
    }
  }
  updateWatches();
  deliverSoon();
  return over();
}

// Taking messages

bool LinkCore::takeOne() {
  if (!_connection) return false;
  const bool wasReady = _connection->isReady();
  BusConnection::Taken taken = _connection->take();
  if (taken.message) sort(std::move(taken.message));
  if (taken.step == BusConnection::Step::lost) {
    connectionLost();
    return true;
  }
  if (!wasReady && _connection->isReady()) connectionReady();
  return taken.step == BusConnection::Step::progress;
}

void LinkCore::sort(BusMessageHandle message) {
  std::uint8_t type = 0;
  sd_bus_message_get_type(message.get(), &type);
  if (isReply(type)) {
    replyArrived(std::move(message));
  } else if (type == SD_BUS_MESSAGE_METHOD_CALL) {
    _lastHeard = Clock::now();
    _incoming.callArrived(std::move(message));
  } else {
    signalArrived(message.get());
  }
}

void LinkCore::replyArrived(BusMessageHandle reply) {
  std::uint64_t cookie = 0;
  if (sd_bus_message_get_reply_cookie(reply.get(), &cookie) < 0) return;
  const auto found = _pending.find(cookie);
  if (found == _pending.end()) return;
  const std::shared_ptr<PendingCall> pending = found->second;
  if (!mayAnswerFor(reply.get(), pending->peer)) {
    countStranger();
    return;
  }
  _pending.erase(found);
  pending->done = true;
  pending->reply = std::move(reply);
  if (pending->whenDone) pending->whenDone(pending->reply.get());
}

void LinkCore::signalArrived(sd_bus_message* signal) {
  const char* name = nullptr;
  const char* before = nullptr;
  const char* after = nullptr;
  if (sd_bus_message_is_signal(signal, kBusDriver, "NameOwnerChanged") <= 0 ||
      sd_bus_message_read(signal, "sss", &name, &before, &after) < 0 || !_presence.isWatched(name)) {
    return;
  }
  const bool present = *after != '\0';
  _presence.note(name, present);
  _incoming.newsArrived([this, name = std::string(name), present] { _presence.tell(name, present); });
}

void LinkCore::serve() {
  // What is delivered may end the transport.
  const auto self = shared_from_this();
  for (int taken = 0; taken < kMessagesPerTurn; ++taken) {
    const bool took = takeOne();
    const bool delivered = _incoming.deliverNext(_surroundings.loop.currentMode());
    if (!took && !delivered) break;
  }
  updateWatches();
  deliverSoon();
}

void LinkCore::descriptorReady() {
  // A command that waits takes its messages itself; being called only ended its pause.
  if (_waits == 0 || _surroundings.loop.currentMode() != kLinkWaitMode) serve();
}

void LinkCore::deliverSoon() {
  if (!_incoming.canDeliver() || _deliveryPlanned || _closed) return;
  _deliveryPlanned = true;
  _surroundings.loop.performAfterDelay(Seconds(0), [weak = weak_from_this()] {
    const auto self = weak.lock();
    if (!self) return;
    self->_deliveryPlanned = false;
    self->serve();
  });
}

void LinkCore::updateWatches() {
  if (!_connection) return;
  const int descriptor = _connection->descriptor();
  if (descriptor < 0) return;
  const auto ready = [this] { descriptorReady(); };
  using Direction = FileDescriptorWatcher::Direction;
  if (descriptor != _watchedDescriptor) {
    _writable.reset();
    _readable = _surroundings.watcher.watchFileDescriptor(descriptor, Direction::readable, ready);
    _watchedDescriptor = descriptor;
  }
  const bool wantsToWrite = (_connection->events() & POLLOUT) != 0;
  if (!wantsToWrite) {
    _writable.reset();
  } else if (!_writable.isActive()) {
    _writable = _surroundings.watcher.watchFileDescriptor(descriptor, Direction::writable, ready);
  }
}

// Presence

Token LinkCore::observePresence(const std::string& busName, std::function<void(bool)> changed) {
  if (sd_bus_service_name_is_valid(busName.c_str()) <= 0) return {};
  Token token = _presence.observe(busName, std::move(changed));
  if (!_presence.isWatched(busName) && _connection && _connection->isReady()) learnPresence(busName);
  return token;
}

void LinkCore::learnPresence(const std::string& busName) {
  const BusMessageHandle match =
      newDriverCall("AddMatch", std::string("type='signal',sender='") + kBusDriver + "',interface='" + kBusDriver +
                                    "',member='NameOwnerChanged',arg0='" + busName + "'");
  const BusMessageHandle question = newDriverCall("GetNameOwner", busName);
  if (!match || !question) return;
  begin(kBusDriver, match.get(), [this](sd_bus_message* answer) {
    const auto refusal = answer != nullptr ? errorTextOf(answer) : std::nullopt;
    if (refusal) _surroundings.log.line("Link::No news of the helper: " + *refusal);
  });
  _presence.setWatched(busName);
  // Asked after the match stands, so that no change falls between the two.
  begin(kBusDriver, question.get(), [this, busName](sd_bus_message* answer) {
    const char* owner = nullptr;
    const bool present = readAnswer(answer, 's', owner);
    if (answer == nullptr || present == _presence.isPresent(busName)) return;
    _presence.note(busName, present);
    _incoming.newsArrived([this, busName, present] { _presence.tell(busName, present); });
  });
}

}  // namespace zpk
