#pragma once

#include <memory>
#include <optional>
#include <string>

#include "helperlink/ZPKDaemonProtocol.h"
#include "platform/linux/link/LinkCore.h"

namespace zpk {

// The helper as the link found it: a port that names it on its bus.
class HelperPort final : public Port {
 public:
  explicit HelperPort(BusPeer found) : peer(std::move(found)) {}
  const BusPeer peer;
};

// A receive port: an object path on this program's connection.
class LocalPort final : public Port {
 public:
  explicit LocalPort(std::string objectPath) : path(std::move(objectPath)) {}
  const std::string path;
};

// The helper's commands, sent to one peer and to no successor of it. Any thread. Every command throws LinkException
// when it fails; without a peer, every command fails. So does a check-in on another thread, whose connection has no
// receive ports.
class HelperProxy final : public ZPKDaemonProtocol {
 public:
  HelperProxy(std::shared_ptr<LinkCore> core, std::optional<BusPeer> peer)
      : _core(std::move(core)), _peer(std::move(peer)) {}

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
  // The reply of a command, which has the signature that the table gives it.
  BusMessageHandle reply(DaemonMember row, const LinkCore::Fill& fill) const;
  // The result code of a command.
  Value result(DaemonMember row, const LinkCore::Fill& fill = {}) const;

  const std::shared_ptr<LinkCore> _core;
  const std::optional<BusPeer> _peer;
};

}  // namespace zpk
