#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "base/Log.h"
#include "base/NotificationCenter.h"
#include "base/RunLoop.h"
#include "helperlink/LinkTransport.h"
#include "helperlink/ZPKDaemonProtocol.h"

namespace zpk {

// The name under which the helper registers its port.
inline constexpr std::string_view kZPKHelperPortName = "zpkhelper";
// Posted after every successful connection to the helper, the first included.
inline constexpr std::string_view kZPKDaemonReconnectedNotification = "ZPKDaemonReconnected";

// What a ZPKDaemon works with. All of it outlives the ZPKDaemon.
struct ZPKDaemonEnvironment {
  LinkTransport& transport;
  NotificationCenter& notificationCenter;
  RunLoop& runLoop;
  Log& log;
};

// The helper, as the rest of the program sees it: its commands, none of which ever throws.
//
// A command blocks until the helper answers. A link that fails shows as a missing result, the null value, and
// nothing else; the daemon then tries to connect again one second later, once for every command that failed. A
// helper that comes back is also connected to the moment it registers its name.
//
//   Value result = ZPKDaemon::sharedDaemon().doAsyncAction([](ZPKDaemon& daemon) { return daemon.backup(); });
//
// Main thread. Commands alone may be sent from other threads too; one that fails there starts no reconnection,
// since only the main thread runs a run loop.
class ZPKDaemon final : public ZPKDaemonProtocol {
 public:
  // Called once by the program's entry point, before anything asks for the shared daemon.
  static void setSharedEnvironment(const ZPKDaemonEnvironment& environment);
  // The one instance of the process, made (and connected) by the first call. It is never destroyed. Any thread.
  static ZPKDaemon& sharedDaemon();

  // A daemon of one's own, connected if the helper is there.
  explicit ZPKDaemon(const ZPKDaemonEnvironment& environment);
  ~ZPKDaemon() override;
  ZPKDaemon(const ZPKDaemon&) = delete;
  ZPKDaemon& operator=(const ZPKDaemon&) = delete;

  // One attempt to connect. Without a helper the old proxy stays, dead or not: a command through it fails and is
  // logged, which tells more than silence.
  void reconnect();

  // Whether the helper was registered when last heard of. What a command meets may be otherwise already.
  bool isHelperReachable() const { return _helperReachable; }

  using Action = std::function<Value(ZPKDaemon&)>;
  // Calls `action` until its result is other than "busy", six times at the most with 5 s of run loop after each
  // busy one, and returns the last result, which may therefore be "busy" still. Busy is a dictionary whose "state"
  // is busy, the result code serviceIsBusy, and anything that is neither dictionary, number nor nothing.
  Value doAsyncAction(Action action);

  Value status() override;
  Value setBackupSource(const std::string& source) override;
  Value setTargetPath(const std::string& targetPath) override;
  Value backup() override;
  Value restore(std::uint64_t arcItem, const std::string& toDisk, std::uint64_t withNumber,
                std::uint64_t withTargetSize) override;
  Value checkInWithPort(const std::shared_ptr<Port>& port, std::int64_t lastStateTime) override;
  Value breakProgress() override;
  Value collectLogsToPath(const std::string& path) override;
  Value mergeArchiveWithParent(std::uint64_t arcItem) override;
  Value setMaxIncrementsCount(std::uint64_t count) override;
  Value reload() override;
  Value setCheckFS(bool flag) override;
  Value pin(bool flag, std::uint64_t arcItem, const std::optional<std::string>& withLabel) override;

 private:
  template <class... Parameters, class... Arguments>
  Value forward(Value (ZPKDaemonProtocol::*command)(Parameters...), Arguments&&... arguments);
  std::shared_ptr<ZPKDaemonProtocol> helper() const;
  void setHelper(std::shared_ptr<ZPKDaemonProtocol> helper);
  void scheduleReconnect();
  void helperPresenceChanged(bool present);

  ZPKDaemonEnvironment _environment;
  // Set on the main thread, read by commands of any. The connection behind it is owned by the proxy alone.
  mutable std::mutex _helperMutex;
  std::shared_ptr<ZPKDaemonProtocol> _helper;
  bool _helperReachable = false;
  // Ends with this object; what the run loop still holds for it then does nothing.
  std::shared_ptr<ZPKDaemon*> _self;
  Token _presence;
};

}  // namespace zpk
