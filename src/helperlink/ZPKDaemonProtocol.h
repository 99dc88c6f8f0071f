#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "base/Value.h"

namespace zpk {

// A call over the link failed: the peer is dead or gone, did not answer in time, or answered with an error. Thrown
// by a proxy of the helper and caught by ZPKDaemon alone. what() is text for the log.
class LinkException : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// One end of the link that can be named to the other side: a registered port of the helper, or a local receive
// port. What it is made of is the transport's business.
class Port {
 public:
  virtual ~Port() = default;
};

// The helper's commands, in the order in which the helper exports them.
//
// Each blocks until the helper has answered and returns the helper's result: a result code
// (helperlink/ResultCode.h) as a number, for `status` the status dictionary. An implementation that stands for the
// helper itself (the root proxy) throws LinkException when the call fails; ZPKDaemon never throws and answers the
// null value instead.
class ZPKDaemonProtocol {
 public:
  virtual ~ZPKDaemonProtocol() = default;

  virtual Value status() = 0;
  // `source`: text form of the disk's GPT identifier.
  virtual Value setBackupSource(const std::string& source) = 0;
  // `targetPath`: full path of the archive.
  virtual Value setTargetPath(const std::string& targetPath) = 0;
  virtual Value backup() = 0;
  // `arcItem`: index of the backup point; `toDisk`: text form of the target disk's GPT identifier; `withNumber`:
  // the target's disk number; `withTargetSize`: size of the restored Windows side, bytes.
  virtual Value restore(std::uint64_t arcItem, const std::string& toDisk, std::uint64_t withNumber,
                        std::uint64_t withTargetSize) = 0;
  // Subscribes `port` to state pushes. `lastStateTime`: "statetime" of the last status received, 0 before any.
  virtual Value checkInWithPort(const std::shared_ptr<Port>& port, std::int64_t lastStateTime) = 0;
  virtual Value breakProgress() = 0;
  // `path`: an existing folder of the caller's.
  virtual Value collectLogsToPath(const std::string& path) = 0;
  virtual Value mergeArchiveWithParent(std::uint64_t arcItem) = 0;
  virtual Value setMaxIncrementsCount(std::uint64_t count) = 0;
  virtual Value reload() = 0;
  virtual Value setCheckFS(bool flag) = 0;
  virtual Value pin(bool flag, std::uint64_t arcItem, const std::optional<std::string>& withLabel) = 0;
};

// What the helper calls back, on the main thread.
class ZPKHelperDelegateProtocol {
 public:
  virtual ~ZPKHelperDelegateProtocol() = default;

  // `status`: the helper's complete state (keys in helperlink/StatusRecord.h). The helper waits for the return.
  virtual void stateChangedWithStatus(const Dictionary& status) = 0;
  // A boolean number: whether the application wants its data reloaded.
  virtual Value needReload() = 0;
};

}  // namespace zpk
