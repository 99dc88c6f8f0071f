#include "platform/linux/link/HelperProxy.h"

#include "platform/linux/link/OwnConnectionCall.h"
#include "platform/linux/wire/WireForm.h"

namespace zpk {
namespace {

// A text argument that the bus takes; lives as long as the call is being put together.
class TextArgument {
 public:
  explicit TextArgument(const std::string& text) : _sent(sendableText(text, _scratch)) {}
  const char* get() const { return _sent.c_str(); }

 private:
  std::string _scratch;
  std::string _sent;
};

LinkCore::Fill textFill(DaemonMember row, const std::string& text) {
  return [row, text = TextArgument(text)](sd_bus_message* call) {
    return sd_bus_message_append(call, member(row).in, text.get());
  };
}

LinkCore::Fill naturalFill(DaemonMember row, std::uint64_t number) {
  return [row, number](sd_bus_message* call) { return sd_bus_message_append(call, member(row).in, number); };
}

}  // namespace

BusMessageHandle HelperProxy::reply(DaemonMember row, const LinkCore::Fill& fill) const {
  const DBusMember& called = member(row);
  if (!_peer) throw LinkException(std::string(called.name) + ": no helper");
  const LinkTimes& times = _core->surroundings().times;
  const LinkCore::Duration atMost = row == DaemonMember::collectLogsToPath ? times.collectLogs : times.command;
  BusMessageHandle reply = _core->isMainThread() ? _core->call(*_peer, called, fill, atMost)
                                                 : callOnOwnConnection(*_core, *_peer, called, fill, atMost);
  if (sd_bus_message_has_signature(reply.get(), called.out) <= 0) {
    throw LinkException(std::string(called.name) + ": a reply of another type");
  }
  return reply;
}

Value HelperProxy::result(DaemonMember row, const LinkCore::Fill& fill) const {
  const BusMessageHandle answer = reply(row, fill);
  std::uint32_t code = 0;
  if (sd_bus_message_read_basic(answer.get(), 'u', &code) <= 0) {
    throw LinkException(std::string(member(row).name) + ": a reply that cannot be read");
  }
  return Value(code);
}

Value HelperProxy::status() {
  const BusMessageHandle answer = reply(DaemonMember::status, {});
  Expected<Dictionary, WireError> status = readDictionary(answer.get(), _core->surroundings().classes);
  if (!status) throw LinkException("status: " + status.error().reason);
  return Value(std::move(*status));
}

Value HelperProxy::setBackupSource(const std::string& source) {
  return result(DaemonMember::setBackupSource, textFill(DaemonMember::setBackupSource, source));
}

Value HelperProxy::setTargetPath(const std::string& targetPath) {
  return result(DaemonMember::setTargetPath, textFill(DaemonMember::setTargetPath, targetPath));
}

Value HelperProxy::backup() {
  return result(DaemonMember::backup);
}

Value HelperProxy::restore(std::uint64_t arcItem, const std::string& toDisk, std::uint64_t withNumber,
                           std::uint64_t withTargetSize) {
  const TextArgument disk(toDisk);
  return result(DaemonMember::restore, [&](sd_bus_message* call) {
    return sd_bus_message_append(call, member(DaemonMember::restore).in, arcItem, disk.get(), withNumber,
                                 withTargetSize);
  });
}

Value HelperProxy::checkInWithPort(const std::shared_ptr<Port>& port, std::int64_t lastStateTime) {
  const auto local = std::dynamic_pointer_cast<LocalPort>(port);
  if (!local || !_core->isMainThread())
    throw LinkException("checkInWithPort: not a receive port of this connection");
  return result(DaemonMember::checkInWithPort, [&](sd_bus_message* call) {
    return sd_bus_message_append(call, member(DaemonMember::checkInWithPort).in, local->path.c_str(),
                                 lastStateTime);
  });
}

Value HelperProxy::breakProgress() {
  return result(DaemonMember::breakProgress);
}

Value HelperProxy::collectLogsToPath(const std::string& path) {
  return result(DaemonMember::collectLogsToPath, textFill(DaemonMember::collectLogsToPath, path));
}

Value HelperProxy::mergeArchiveWithParent(std::uint64_t arcItem) {
  return result(DaemonMember::mergeArchiveWithParent, naturalFill(DaemonMember::mergeArchiveWithParent, arcItem));
}

Value HelperProxy::setMaxIncrementsCount(std::uint64_t count) {
  return result(DaemonMember::setMaxIncrementsCount, naturalFill(DaemonMember::setMaxIncrementsCount, count));
}

Value HelperProxy::reload() {
  return result(DaemonMember::reload);
}

Value HelperProxy::setCheckFS(bool flag) {
  return result(DaemonMember::setCheckFS, [&](sd_bus_message* call) {
    return sd_bus_message_append(call, member(DaemonMember::setCheckFS).in, flag ? 1 : 0);
  });
}

Value HelperProxy::pin(bool flag, std::uint64_t arcItem, const std::optional<std::string>& withLabel) {
  // There is no null on the wire: no label crosses as an empty one.
  const TextArgument label(withLabel.value_or(""));
  return result(DaemonMember::pin, [&](sd_bus_message* call) {
    return sd_bus_message_append(call, member(DaemonMember::pin).in, flag ? 1 : 0, arcItem, label.get());
  });
}

}  // namespace zpk
