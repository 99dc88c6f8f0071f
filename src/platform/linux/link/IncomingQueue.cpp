#include "platform/linux/link/IncomingQueue.h"

#include <algorithm>
#include <utility>

#include "base/RunLoop.h"
#include "platform/linux/link/LinkTimes.h"
#include "platform/linux/wire/DBusNames.h"
#include "platform/linux/wire/WireForm.h"

namespace zpk {
namespace {

bool isCallOf(sd_bus_message* call, DelegateMember row) {
  return sd_bus_message_is_method_call(call, kDelegateInterface, member(row).name) > 0 &&
         sd_bus_message_has_signature(call, member(row).in) > 0;
}

class NestingScope {
 public:
  explicit NestingScope(int& nesting) : _nesting(nesting) { ++_nesting; }
  NestingScope(const NestingScope&) = delete;
  NestingScope& operator=(const NestingScope&) = delete;
  ~NestingScope() { --_nesting; }

 private:
  int& _nesting;
};

// A failing send means that the caller is gone; there is nobody left to tell.
void refuse(sd_bus_message* call, const char* name, const char* text) {
  sd_bus_reply_method_errorf(call, name, "%s", text);
}

}  // namespace

void IncomingQueue::serve(const std::string& path, ZPKHelperDelegateProtocol& rootObject) {
  _ports[path] = ServedPort{&rootObject, {std::string(kDefaultRunLoopMode), std::string(kLinkWaitMode)}};
}

void IncomingQueue::addMode(const std::string& path, std::string_view mode) {
  const auto port = _ports.find(path);
  if (port != _ports.end()) port->second.modes.emplace(mode);
}

void IncomingQueue::withdraw(const std::string& path) {
  _ports.erase(path);
}

void IncomingQueue::callArrived(BusMessageHandle call) {
  const char* path = sd_bus_message_get_path(call.get());
  if (path == nullptr || !_ports.contains(path)) {
    refuse(call.get(), SD_BUS_ERROR_UNKNOWN_OBJECT, "No receive port has this path");
  } else if (_waitingCalls >= kMaxWaitingCalls) {
    refuse(call.get(), SD_BUS_ERROR_LIMITS_EXCEEDED, "Too many calls are waiting");
  } else {
    ++_waitingCalls;
    _items.push_back({path, std::move(call), nullptr});
  }
}

void IncomingQueue::newsArrived(std::function<void()> deliver) {
  _items.push_back({{}, nullptr, std::move(deliver)});
}

bool IncomingQueue::mayDeliver(const Item& item, std::string_view mode) const {
  if (!item.call) return true;
  const auto port = _ports.find(item.path);
  // Of a port that was withdrawn only the refusal is left, which fits any mode.
  return port == _ports.end() || port->second.modes.contains(mode);
}

bool IncomingQueue::deliverNext(std::string_view mode) {
  if (!canDeliver()) return false;
  const auto next =
      std::find_if(_items.begin(), _items.end(), [&](const Item& item) { return mayDeliver(item, mode); });
  if (next == _items.end()) return false;
  const Item item = std::move(*next);
  _items.erase(next);
  if (item.call) --_waitingCalls;

  const NestingScope scope(_nesting);
  if (item.call) {
    deliverCall(item);
  } else {
    item.news();
  }
  return true;
}

void IncomingQueue::deliverCall(const Item& item) {
  sd_bus_message* call = item.call.get();
  const auto port = _ports.find(item.path);
  if (port == _ports.end()) {
    refuse(call, SD_BUS_ERROR_UNKNOWN_OBJECT, "No receive port has this path");
  } else if (isCallOf(call, DelegateMember::stateChangedWithStatus)) {
    deliverStatus(call, *port->second.rootObject);
  } else if (isCallOf(call, DelegateMember::needReload)) {
    const int answer = port->second.rootObject->needReload().boolValue() ? 1 : 0;
    sd_bus_reply_method_return(call, member(DelegateMember::needReload).out, answer);
  } else {
    refuse(call, SD_BUS_ERROR_UNKNOWN_METHOD, "Not a callback of the helper");
  }
}

void IncomingQueue::deliverStatus(sd_bus_message* call, ZPKHelperDelegateProtocol& rootObject) {
  const Expected<Dictionary, WireError> status = readDictionary(call, _classes);
  if (!status) {
    _log.line("Link::Dropped status: " + status.error().reason);
    refuse(call, SD_BUS_ERROR_INVALID_ARGS, status.error().reason.c_str());
    return;
  }
  rootObject.stateChangedWithStatus(*status);
  sd_bus_reply_method_return(call, nullptr);
}

void IncomingQueue::dropCalls() {
  std::erase_if(_items, [](const Item& item) { return item.call != nullptr; });
  _waitingCalls = 0;
}

}  // namespace zpk
