#include "support/FakeLinkTransport.h"

#include <algorithm>
#include <set>
#include <stdexcept>
#include <utility>

#include "helperlink/ZPKDaemon.h"
#include "support/FakeHelperProxy.h"

namespace zpk {

namespace {

constexpr Seconds kPatience{3};
constexpr std::string_view kPresence = "presence";
constexpr std::string_view kAnswering = "answering";

Seconds timeoutOf(std::string_view command) {
  return Seconds(command == "collectLogsToPath" ? 600 : 60);
}

struct LocalPort final : Port {};

struct HelperPort final : Port {
  explicit HelperPort(unsigned l) : life(l) {}
  const unsigned life;
};

}  // namespace

class FakeLinkTransport::Connection final : public ReceiveConnection {
 public:
  Connection(FakeLinkTransport& transport, std::shared_ptr<Port> port, ZPKHelperDelegateProtocol& root)
      : rootObject(root), _transport(transport), _port(std::move(port)) {}
  ~Connection() override { _transport._served.erase(_port); }

  void addRequestMode(std::string_view mode) override { modes.emplace(mode); }

  ZPKHelperDelegateProtocol& rootObject;
  std::set<std::string, std::less<>> modes{std::string(kDefaultRunLoopMode), std::string(kWaitMode)};

 private:
  FakeLinkTransport& _transport;
  std::shared_ptr<Port> _port;
};

FakeLinkTransport::FakeLinkTransport(VirtualRunLoop& loop) : _loop(loop) {}
FakeLinkTransport::~FakeLinkTransport() = default;

void FakeLinkTransport::helperAppears() {
  _checkedIn.clear();
  _life = ++_lastLife;
  announcePresence(true);
}

void FakeLinkTransport::helperDies() {
  _checkedIn.clear();
  _life = 0;
  announcePresence(false);
}

void FakeLinkTransport::push(const Dictionary& status) {
  _lastHeard = _loop.now();
  const std::vector<std::shared_ptr<Port>> receivers = _checkedIn;
  for (const std::shared_ptr<Port>& receiver : receivers) {
    if (const auto served = _served.find(receiver); served != _served.end()) {
      served->second->rootObject.stateChangedWithStatus(status);
    }
  }
}

void FakeLinkTransport::pushAfter(Seconds delay, const Dictionary& status) {
  const auto servedIn = [this](std::string_view mode) {
    return std::all_of(_checkedIn.begin(), _checkedIn.end(),
                       [&](const std::shared_ptr<Port>& port) { return isServedIn(port, mode); });
  };
  _loop.inputServedIn(delay, servedIn, [this, status] { push(status); });
}

Value FakeLinkTransport::askNeedReload() {
  _lastHeard = _loop.now();
  if (_checkedIn.empty()) return {};
  const auto served = _served.find(_checkedIn.front());
  return served == _served.end() ? Value() : served->second->rootObject.needReload();
}

std::shared_ptr<Port> FakeLinkTransport::portForName(std::string_view name) {
  _lookedUpNames.emplace_back(name);
  const Life life = _life;
  if (life == 0 || name != kZPKHelperPortName) return nullptr;
  return std::make_shared<HelperPort>(life);
}

std::shared_ptr<Port> FakeLinkTransport::port() {
  ++_portsMade;
  return std::make_shared<LocalPort>();
}

std::shared_ptr<ZPKDaemonProtocol> FakeLinkTransport::rootProxy(std::shared_ptr<Port> receivePort,
                                                                std::shared_ptr<Port> sendPort) {
  const auto peer = std::dynamic_pointer_cast<HelperPort>(sendPort);
  if (!peer || !std::dynamic_pointer_cast<LocalPort>(receivePort)) {
    throw std::logic_error("a proxy needs a local receive port and a helper's send port");
  }
  ++_proxiesMade;
  return std::make_shared<FakeHelperProxy>(
      [this, life = peer->life](FakeHelper::Call call) { return send(life, std::move(call)); });
}

std::unique_ptr<ReceiveConnection> FakeLinkTransport::serve(std::shared_ptr<Port> receivePort,
                                                            ZPKHelperDelegateProtocol& rootObject) {
  auto connection = std::make_unique<Connection>(*this, receivePort, rootObject);
  _served[std::move(receivePort)] = connection.get();
  return connection;
}

Token FakeLinkTransport::observePresence(std::string_view name, std::function<void(bool present)> changed) {
  if (name != kZPKHelperPortName) throw std::logic_error("nothing but the helper comes and goes here");
  return _events.observe(kPresence, [this, changed = std::move(changed)] { changed(_present); });
}

Token FakeLinkTransport::observeAnswering(std::function<void(bool answering)> changed) {
  return _events.observe(kAnswering, [this, changed = std::move(changed)] { changed(_answering); });
}

Value FakeLinkTransport::send(Life life, FakeHelper::Call call) {
  requireAlive(life);
  const std::string command = call.command;
  const std::shared_ptr<Port> port = call.port;
  if (port && std::find(_checkedIn.begin(), _checkedIn.end(), port) == _checkedIn.end()) _checkedIn.push_back(port);
  Value result = _helper.serve(std::move(call));
  if (_loop.isMainThread()) waitForReply(life, command);
  requireAlive(life);
  return result;
}

void FakeLinkTransport::waitForReply(Life life, const std::string& command) {
  const Seconds begin = _loop.now();
  const Seconds end = begin + std::min(_answerDelay, timeoutOf(command));
  bool late = false;
  while (life == _life && _loop.now() < end) {
    const Seconds patient = std::max(begin, _lastHeard) + kPatience;
    if (!late && _loop.now() >= patient) {
      late = true;
      announceAnswering(false);
    }
    _loop.runInMode(kWaitMode, (late ? end : std::min(end, patient)) - _loop.now());
  }
  if (late) announceAnswering(true);
  if (_answerDelay > timeoutOf(command)) throw LinkException("no reply in time");
}

void FakeLinkTransport::requireAlive(Life life) const {
  if (life != _life) throw LinkException("the helper is gone");
}

bool FakeLinkTransport::isServedIn(const std::shared_ptr<Port>& port, std::string_view mode) const {
  const auto served = _served.find(port);
  return served != _served.end() && served->second->modes.contains(mode);
}

void FakeLinkTransport::announcePresence(bool present) {
  _present = present;
  _events.didChangeValueForKey(kPresence);
}

void FakeLinkTransport::announceAnswering(bool answering) {
  if (answering == _answering) return;
  _answering = answering;
  _events.didChangeValueForKey(kAnswering);
}

}  // namespace zpk
