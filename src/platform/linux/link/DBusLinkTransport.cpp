#include "platform/linux/link/DBusLinkTransport.h"

#include <utility>

#include "platform/linux/link/HelperProxy.h"
#include "platform/linux/link/LinkCore.h"
#include "platform/linux/wire/DBusNames.h"

namespace zpk {
namespace {

std::string busNameOf(std::string_view portName) {
  return std::string(kBusNamePrefix).append(portName);
}

class BusReceiveConnection final : public ReceiveConnection {
 public:
  BusReceiveConnection(std::shared_ptr<LinkCore> core, std::string path)
      : _core(std::move(core)), _path(std::move(path)) {}
  ~BusReceiveConnection() override { _core->incoming().withdraw(_path); }

  void addRequestMode(std::string_view mode) override { _core->incoming().addMode(_path, mode); }

 private:
  const std::shared_ptr<LinkCore> _core;
  const std::string _path;
};

}  // namespace

DBusLinkTransport::DBusLinkTransport(DBusLinkSurroundings surroundings)
    : _core(std::make_shared<LinkCore>(std::move(surroundings))) {}

DBusLinkTransport::~DBusLinkTransport() {
  close();
}

void DBusLinkTransport::close() {
  _core->close();
}

std::shared_ptr<Port> DBusLinkTransport::portForName(std::string_view name) {
  std::optional<BusPeer> owner = _core->ownerOf(busNameOf(name));
  return owner ? std::make_shared<HelperPort>(std::move(*owner)) : nullptr;
}

std::shared_ptr<Port> DBusLinkTransport::port() {
  return std::make_shared<LocalPort>(kReceivePortPathPrefix + std::to_string(++_portsMade));
}

std::shared_ptr<ZPKDaemonProtocol> DBusLinkTransport::rootProxy(std::shared_ptr<Port> /*receivePort*/,
                                                                std::shared_ptr<Port> sendPort) {
  const auto helper = std::dynamic_pointer_cast<HelperPort>(sendPort);
  if (!helper) return std::make_shared<HelperProxy>(_core, std::nullopt);
  _core->speakTo(helper->peer);
  return std::make_shared<HelperProxy>(_core, helper->peer);
}

std::unique_ptr<ReceiveConnection> DBusLinkTransport::serve(std::shared_ptr<Port> receivePort,
                                                            ZPKHelperDelegateProtocol& rootObject) {
  // A port of another transport has no path here; nothing ever arrives on it.
  const auto local = std::dynamic_pointer_cast<LocalPort>(receivePort);
  const std::string path = local ? local->path : std::string();
  if (local) _core->incoming().serve(path, rootObject);
  return std::make_unique<BusReceiveConnection>(_core, path);
}

Token DBusLinkTransport::observePresence(std::string_view name, std::function<void(bool present)> changed) {
  return _core->observePresence(busNameOf(name), std::move(changed));
}

Token DBusLinkTransport::observeAnswering(std::function<void(bool answering)> changed) {
  return _core->observeAnswering(std::move(changed));
}

std::uint64_t DBusLinkTransport::strangersDropped() const {
  return _core->strangers();
}

}  // namespace zpk
