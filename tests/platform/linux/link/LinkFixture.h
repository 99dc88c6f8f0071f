#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "helperlink/ZPKDaemon.h"
#include "platform/linux/link/DBusLinkTransport.h"
#include "platform/linux/link/LinkTestLoop.h"
#include "platform/linux/link/PrivateBus.h"
#include "support/RecordingLog.h"

namespace zpk::tests {

// What the helper called back, and what to do when it does.
class RecordingDelegate final : public ZPKHelperDelegateProtocol {
 public:
  void stateChangedWithStatus(const Dictionary& status) override {
    stateTimes.push_back(status["statetime"].integerValue());
    if (onStatus) onStatus(status);
  }
  Value needReload() override {
    if (onNeedReload) onNeedReload();
    return Value(reloadAnswer);
  }

  std::vector<std::int64_t> stateTimes;
  bool reloadAnswer = false;
  std::function<void(const Dictionary&)> onStatus;
  std::function<void()> onNeedReload;
};

// A front end's link on a bus of the test's own, with a helper that does as it is told (scripted_helper.cpp).
class LinkTest : public testing::Test {
 protected:
  static constexpr std::string_view kName = kZPKHelperPortName;

  // The program's times, but for those that a test would have to sit out.
  static LinkTimes quickTimes() {
    LinkTimes times;
    times.command = std::chrono::seconds(8);
    return times;
  }
  DBusLinkSurroundings surroundings(LinkTimes times = quickTimes()) {
    return {loop, loop, log, classes, {WhichBus::session, bus.address()}, std::nullopt, times};
  }
  void restartTransport(DBusLinkSurroundings with) {
    receiving.reset();
    proxy.reset();
    transport.reset();
    transport = std::make_unique<DBusLinkTransport>(with);
    receivePort = transport->port();
    receiving = transport->serve(receivePort, delegate);
  }

  LinkTest() { restartTransport(surroundings()); }

  void startHelper() { helper = ChildProcess({SCRIPTED_HELPER, bus.address()}); }
  // Looks for the helper until it is there, and takes a proxy of it.
  void connect() {
    std::shared_ptr<Port> found;
    ASSERT_TRUE(loop.runUntil([&] { return (found = transport->portForName(kName)) != nullptr; }));
    proxy = transport->rootProxy(transport->port(), found);
  }
  void startAndCheckIn() {
    startHelper();
    connect();
    ASSERT_EQ(proxy->checkInWithPort(receivePort, 0), Value(0));
  }
  // Has the helper do something in a command.
  Value tell(const std::string& script) { return proxy->setBackupSource(script); }
  // What the LinkException of a command says; "no exception" without one.
  std::string failureOf(const std::function<void()>& command) {
    try {
      command();
    } catch (const LinkException& failure) {
      return failure.what();
    }
    return "no exception";
  }

  PrivateBus bus;
  LinkTestLoop loop;
  RecordingLog log;
  RecordRegistry classes;
  RecordingDelegate delegate;
  std::unique_ptr<DBusLinkTransport> transport;
  std::shared_ptr<Port> receivePort;
  std::unique_ptr<ReceiveConnection> receiving;
  std::shared_ptr<ZPKDaemonProtocol> proxy;
  ChildProcess helper;
};

// 1 to `last`.
inline std::vector<std::int64_t> countTo(std::int64_t last) {
  std::vector<std::int64_t> all;
  for (std::int64_t i = 1; i <= last; ++i) all.push_back(i);
  return all;
}

}  // namespace zpk::tests
