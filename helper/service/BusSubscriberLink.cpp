#include "helper/service/BusSubscriberLink.h"

#include <chrono>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "helperlink/StatusRecord.h"
#include "platform/linux/wire/DBusNames.h"
#include "platform/linux/wire/WireForm.h"

namespace zpk {
namespace {

// A front end answers at once unless it hangs; it is heard again when it checks in.
constexpr std::chrono::seconds kPatience{10};

PushResult resultOf(sd_bus_message* reply) {
  if (!reply) return PushResult::refused;
  if (!sd_bus_message_is_method_error(reply, nullptr)) return PushResult::delivered;
  return sd_bus_message_is_method_error(reply, SD_BUS_ERROR_TIMEOUT) ? PushResult::timedOut : PushResult::refused;
}

struct Watch {
  std::function<void()> gone;
};

int onOwnerChanged(sd_bus_message* message, void* data, sd_bus_error*) {
  // Any peer can send a signal that looks like this one; only the bus itself is believed.
  const char* sender = sd_bus_message_get_sender(message);
  if (!sender || std::string_view(sender) != "org.freedesktop.DBus") return 0;
  const char* name = nullptr;
  const char* before = nullptr;
  const char* after = nullptr;
  if (sd_bus_message_read(message, "sss", &name, &before, &after) < 0 || *after != '\0') return 0;
  const std::shared_ptr<Watch> kept = *static_cast<std::shared_ptr<Watch>*>(data);
  kept->gone();
  return 0;
}

}  // namespace

BusMessageHandle messageWithStatus(const std::function<BusMessageHandle()>& make, const Dictionary& status,
                                   Log& log) {
  BusMessageHandle whole = make();
  if (!whole) return nullptr;
  const auto appended = appendDictionary(whole.get(), status);
  if (appended) return whole;
  log.line("ZPKH::A status is sent without its log: " + appended.error().reason);
  Dictionary shorter = status;
  shorter.remove(statuskey::fullLog.key);
  BusMessageHandle rest = make();
  if (!rest) return nullptr;
  const auto appendedRest = appendDictionary(rest.get(), shorter);
  if (appendedRest) return rest;
  log.line("ZPKH::A status could not be sent: " + appendedRest.error().reason);
  return nullptr;
}

BusMessageHandle BusSubscriberLink::newCall(const SubscriberPort& port, const char* member) {
  sd_bus_message* message = nullptr;
  sd_bus_message_new_method_call(_bus, &message, port.peer.c_str(), port.path.c_str(), kDelegateInterface, member);
  BusMessageHandle call(message);
  if (call) sd_bus_message_set_auto_start(call.get(), 0);
  return call;
}

void BusSubscriberLink::push(const SubscriberPort& port, const StatePush& push,
                             std::function<void(PushResult)> answered) {
  BusMessageHandle message = messageWithStatus(
      [&] { return newCall(port, member(DelegateMember::stateChangedWithStatus).name); }, *push.status, _log);
  _calls.send(std::move(message), kPatience,
              [answered = std::move(answered)](sd_bus_message* reply) { answered(resultOf(reply)); });
}

void BusSubscriberLink::askNeedReload(const SubscriberPort& port, std::function<void(bool)> answered) {
  _calls.send(newCall(port, member(DelegateMember::needReload).name), kPatience,
              [answered = std::move(answered)](sd_bus_message* reply) {
                int wanted = 0;
                const bool read = reply && !sd_bus_message_is_method_error(reply, nullptr) &&
                                  sd_bus_message_read(reply, "b", &wanted) >= 0;
                answered(read && wanted != 0);
              });
}

Token BusSubscriberLink::watchPeer(const std::string& peer, std::function<void()> gone) {
  const std::string rule =
      "type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',"
      "interface='org.freedesktop.DBus',member='NameOwnerChanged',arg0='" +
      peer + "'";
  auto* data = new std::shared_ptr<Watch>(std::make_shared<Watch>(Watch{std::move(gone)}));
  sd_bus_slot* slot = nullptr;
  if (sd_bus_add_match_async(_bus, &slot, rule.c_str(), onOwnerChanged, nullptr, data) < 0) {
    delete data;
    return Token();  // Its death is noticed by the next push.
  }
  return Token([slot, data] {
    sd_bus_slot_unref(slot);
    delete data;
  });
}

}  // namespace zpk
