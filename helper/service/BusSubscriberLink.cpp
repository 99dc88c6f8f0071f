#include "helper/service/BusSubscriberLink.h"

#include <string>
#include <utility>

#include "helperlink/StatusRecord.h"
#include "platform/linux/wire/DBusNames.h"
#include "platform/linux/wire/WireForm.h"

namespace zpk {
namespace {

// A front end answers at once unless it hangs; it is heard again when it checks in.
constexpr std::uint64_t kPatience = 10'000'000;  // Microseconds.

PushResult resultOf(sd_bus_message* reply) {
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

bool BusSubscriberLink::send(BusMessageHandle message, Reply reply) {
  if (!message) return false;
  const std::uint64_t id = ++_lastId;
  Call& call = _calls[id];
  call.link = this;
  call.id = id;
  call.reply = std::move(reply);
  sd_bus_slot* slot = nullptr;
  if (sd_bus_call_async(_bus, &slot, message.get(), onReply, &call, kPatience) < 0) {
    _calls.erase(id);
    return false;
  }
  call.slot.reset(slot);
  return true;
}

int BusSubscriberLink::onReply(sd_bus_message* message, void* data, sd_bus_error*) {
  Call* call = static_cast<Call*>(data);
  BusSubscriberLink* link = call->link;
  const Reply reply = std::move(call->reply);
  link->_calls.erase(call->id);
  reply(message);
  return 0;
}

void BusSubscriberLink::push(const SubscriberPort& port, const StatePush& push,
                             std::function<void(PushResult)> answered) {
  BusMessageHandle message = messageWithStatus(
      [&] { return newCall(port, member(DelegateMember::stateChangedWithStatus).name); }, *push.status, _log);
  const auto reply = [answered](sd_bus_message* got) { answered(resultOf(got)); };
  if (!send(std::move(message), reply)) _loop.async([answered] { answered(PushResult::refused); });
}

void BusSubscriberLink::askNeedReload(const SubscriberPort& port, std::function<void(bool)> answered) {
  const auto reply = [answered](sd_bus_message* got) {
    int wanted = 0;
    const bool read = !sd_bus_message_is_method_error(got, nullptr) && sd_bus_message_read(got, "b", &wanted) >= 0;
    answered(read && wanted != 0);
  };
  if (!send(newCall(port, member(DelegateMember::needReload).name), reply))
    _loop.async([answered] { answered(false); });
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
