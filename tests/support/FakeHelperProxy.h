#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "helperlink/ZPKDaemonProtocol.h"
#include "support/FakeHelper.h"

namespace zpk {

// A proxy whose commands all go, by their names on the wire, to one function.
class FakeHelperProxy final : public ZPKDaemonProtocol {
 public:
  using Send = std::function<Value(FakeHelper::Call)>;
  explicit FakeHelperProxy(Send send) : _send(std::move(send)) {}

  Value status() override { return _send({"status", {}, {}}); }
  Value setBackupSource(const std::string& source) override { return _send({"setBackupSource", {source}, {}}); }
  Value setTargetPath(const std::string& targetPath) override { return _send({"setTargetPath", {targetPath}, {}}); }
  Value backup() override { return _send({"backup", {}, {}}); }
  Value restore(std::uint64_t arcItem, const std::string& toDisk, std::uint64_t withNumber,
                std::uint64_t withTargetSize) override {
    return _send({"restore_toDisk_withNumber_withTargetSize", {arcItem, toDisk, withNumber, withTargetSize}, {}});
  }
  Value checkInWithPort(const std::shared_ptr<Port>& port, std::int64_t lastStateTime) override {
    return _send({"checkInWithPort_lastStateTime", {lastStateTime}, port});
  }
  Value breakProgress() override { return _send({"breakProgress", {}, {}}); }
  Value collectLogsToPath(const std::string& path) override { return _send({"collectLogsToPath", {path}, {}}); }
  Value mergeArchiveWithParent(std::uint64_t arcItem) override {
    return _send({"mergeArchiveWithParent", {arcItem}, {}});
  }
  Value setMaxIncrementsCount(std::uint64_t count) override {
    return _send({"setMaxIncrementsCount", {count}, {}});
  }
  Value reload() override { return _send({"reload", {}, {}}); }
  Value setCheckFS(bool flag) override { return _send({"setCheckFS", {flag}, {}}); }
  Value pin(bool flag, std::uint64_t arcItem, const std::optional<std::string>& withLabel) override {
    return _send({"pin_arcItem_withLabel", {flag, arcItem, withLabel}, {}});
  }

 private:
  Send _send;
};

}  // namespace zpk
