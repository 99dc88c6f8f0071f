#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/Observable.h"
#include "helperlink/LinkTransport.h"
#include "support/FakeHelper.h"
#include "support/VirtualRunLoop.h"

namespace zpk {

// A helper link in memory, in virtual time. At first no helper is there.
//
//   FakeLinkTransport transport(loop);
//   transport.helperAppears();
//   transport.helper().whenCalled("backup", [&] { transport.helperDies(); });
class FakeLinkTransport final : public LinkTransport {
 public:
  // The mode in which the loop runs while a command waits for its reply.
  static constexpr std::string_view kWaitMode = "waiting for the helper";

  explicit FakeLinkTransport(VirtualRunLoop& loop);
  ~FakeLinkTransport() override;

  FakeHelper& helper() { return _helper; }

  // A helper registers its name; proxies of an earlier one stay dead.
  void helperAppears();
  void helperDies();
  // Each later command sent on the main thread takes that long. Beyond the time-out of the real link it fails.
  void setAnswerDelay(Seconds delay) { _answerDelay = delay; }

  // The helper calls back all who checked in with it: now; or later, when the loop runs in a mode that the
  // receiving connection serves.
  void push(const Dictionary& status);
  void pushAfter(Seconds delay, const Dictionary& status);
  // What the first of them wants; null when nobody checked in.
  Value askNeedReload();

  std::vector<std::string> lookedUpNames() const { return _lookedUpNames; }
  std::size_t portsMade() const { return _portsMade; }
  std::size_t proxiesMade() const { return _proxiesMade; }
  std::size_t servedPorts() const { return _served.size(); }

  std::shared_ptr<Port> portForName(std::string_view name) override;
  std::shared_ptr<Port> port() override;
  std::shared_ptr<ZPKDaemonProtocol> rootProxy(std::shared_ptr<Port> receivePort,
                                               std::shared_ptr<Port> sendPort) override;
  std::unique_ptr<ReceiveConnection> serve(std::shared_ptr<Port> receivePort,
                                           ZPKHelperDelegateProtocol& rootObject) override;
  Token observePresence(std::string_view name, std::function<void(bool present)> changed) override;
  Token observeAnswering(std::function<void(bool answering)> changed) override;

 private:
  class Connection;
  // Lives of the helper are numbered from 1; 0 is no helper.
  using Life = unsigned;

  Value send(Life life, FakeHelper::Call call);
  void waitForReply(Life life, const std::string& command);
  void requireAlive(Life life) const;
  bool isServedIn(const std::shared_ptr<Port>& port, std::string_view mode) const;
  void announcePresence(bool present);
  void announceAnswering(bool answering);

  VirtualRunLoop& _loop;
  FakeHelper _helper;
  std::atomic<Life> _life{0};
  Life _lastLife = 0;
  Seconds _answerDelay{0};
  Seconds _lastHeard{0};

  std::map<std::shared_ptr<Port>, Connection*> _served;
  std::vector<std::shared_ptr<Port>> _checkedIn;
  Observable _events;
  bool _present = false;
  bool _answering = true;

  std::vector<std::string> _lookedUpNames;
  std::size_t _portsMade = 0;
  std::size_t _proxiesMade = 0;
};

}  // namespace zpk
