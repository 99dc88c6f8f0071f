#include "platform/linux/session/SessionInstance.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <utility>

namespace zpk {
namespace {

constexpr const char* kName = "com.tarnwick.zpk";
// As the name prescribes it.
constexpr const char* kPath = "/com/tarnwick/zpk";
constexpr const char* kInterface = "org.freedesktop.Application";
constexpr const char* kTokenKey = "activation-token";

// Messages taken in one go before the run loop gets its turn.
constexpr int kMessagesPerTurn = 64;
// What the bus answers to a request for a name.
constexpr std::uint32_t kPrimaryOwner = 1;
constexpr std::uint32_t kAlreadyOwner = 4;

using Clock = std::chrono::steady_clock;

// One that was there when it was called and is not any more.
bool meansGone(const sd_bus_error* error) {
  constexpr std::array kGone{SD_BUS_ERROR_SERVICE_UNKNOWN, SD_BUS_ERROR_NAME_HAS_NO_OWNER, SD_BUS_ERROR_NO_REPLY};
  return std::any_of(kGone.begin(), kGone.end(),
                     [&](const char* name) { return sd_bus_error_has_name(error, name) > 0; });
}

// Reads the dictionary that the message stands before.
SessionInstance::ActivationToken readToken(sd_bus_message* message) {
  SessionInstance::ActivationToken token;
  if (sd_bus_message_enter_container(message, 'a', "{sv}") < 0) return {};
  while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
    const char* key = nullptr;
    const char* text = nullptr;
    if (sd_bus_message_read(message, "s", &key) < 0) return {};
    if (std::string_view(key) == kTokenKey && sd_bus_message_read(message, "v", "s", &text) > 0) {
      token = text;
    } else if (sd_bus_message_skip(message, "v") < 0) {
      return token;
    }
    if (sd_bus_message_exit_container(message) < 0) return token;
  }
  return token;
}

BusMessageHandle activateCall(sd_bus* bus, const std::string& token) {
  sd_bus_message* call = nullptr;
  if (sd_bus_message_new_method_call(bus, &call, kName, kPath, kInterface, "Activate") < 0) return nullptr;
  BusMessageHandle handle(call);
  // A bus that can start the program is not to: it would be one more.
  sd_bus_message_set_auto_start(call, 0);
  const int filled = token.empty() ? sd_bus_message_append(call, "a{sv}", 0)
                                   : sd_bus_message_append(call, "a{sv}", 1, kTokenKey, "s", token.c_str());
  return filled < 0 ? nullptr : std::move(handle);
}

BusMessageHandle nameCall(sd_bus* bus) {
  sd_bus_message* call = nullptr;
  if (sd_bus_message_new_method_call(bus, &call, kBusDriver, kBusDriverPath, kBusDriver, "RequestName") < 0) {
    return nullptr;
  }
  BusMessageHandle handle(call);
  constexpr std::uint32_t kDoNotQueue = 4;
  return sd_bus_message_append(call, "su", kName, kDoNotQueue) < 0 ? nullptr : std::move(handle);
}

}  // namespace

// What the program offers there.
struct SessionInstance::Members {
  static int activate(sd_bus_message* call, void* self, sd_bus_error* /*error*/) {
    static_cast<SessionInstance*>(self)->_asked = readToken(call);
    return sd_bus_reply_method_return(call, nullptr);
  }

  // The program opens no files; it comes forward all the same.
  static int open(sd_bus_message* call, void* self, sd_bus_error* error) {
    const int skipped = sd_bus_message_skip(call, "as");
    return skipped < 0 ? skipped : activate(call, self, error);
  }

  // Its entry in the menus has no actions.
  static int activateAction(sd_bus_message* call, void* /*self*/, sd_bus_error* /*error*/) {
    return sd_bus_reply_method_errorf(call, SD_BUS_ERROR_INVALID_ARGS, "There is no such action");
  }

  static const sd_bus_vtable* table() {
    static const std::array kTable{
        sd_bus_vtable SD_BUS_VTABLE_START(0),
        sd_bus_vtable SD_BUS_METHOD("Activate", "a{sv}", "", &activate, SD_BUS_VTABLE_UNPRIVILEGED),
        sd_bus_vtable SD_BUS_METHOD("Open", "asa{sv}", "", &open, SD_BUS_VTABLE_UNPRIVILEGED),
        sd_bus_vtable SD_BUS_METHOD("ActivateAction", "sava{sv}", "", &activateAction, SD_BUS_VTABLE_UNPRIVILEGED),
        sd_bus_vtable SD_BUS_VTABLE_END,
    };
    return kTable.data();
  }
};

// Asks for the place, and then whoever has it, in turn until one of both agrees.
class SessionInstance::Claiming {
 public:
  Claiming(SessionInstance& place, const Times& times) : _place(place), _times(times) {}

  Outcome claim(const ActivationToken& token) {
    if (!waitUntil([this] { return sd_bus_is_ready(bus()) > 0; }, Clock::now() + _times.connect)) {
      return Outcome::alone;
    }
    const auto end = Clock::now() + _times.answer;
    // Each round ends with somebody who is gone, and the last one with the time.
    while (Clock::now() < end) {
      const std::optional<bool> mine = askForName();
      if (!mine) return Outcome::alone;
      if (*mine) return Outcome::first;
      const BusMessageHandle reply = ask(activateCall(bus(), token), end);
      if (!reply) return Outcome::noAnswer;
      const sd_bus_error* error = sd_bus_message_get_error(reply.get());
      if (!error) return Outcome::handedOver;
      if (!meansGone(error)) return Outcome::noAnswer;
    }
    return Outcome::noAnswer;
  }

 private:
  sd_bus* bus() const { return _place._bus.get(); }

  // Nothing when the bus does not say.
  std::optional<bool> askForName() {
    const BusMessageHandle reply = ask(nameCall(bus()), Clock::now() + _times.connect);
    std::uint32_t answer = 0;
    if (!reply || sd_bus_message_is_method_error(reply.get(), nullptr) > 0) return std::nullopt;
    if (sd_bus_message_read(reply.get(), "u", &answer) <= 0) return std::nullopt;
    return answer == kPrimaryOwner || answer == kAlreadyOwner;
  }

  static int replied(sd_bus_message* reply, void* answer, sd_bus_error* /*error*/) {
    static_cast<BusMessageHandle*>(answer)->reset(sd_bus_message_ref(reply));
    return 1;
  }

  // The reply, which may be an error; null when there is none in time.
  BusMessageHandle ask(const BusMessageHandle& call, Clock::time_point end) {
    BusMessageHandle reply;
    sd_bus_slot* slot = nullptr;
    // The time is kept here.
    if (!call || sd_bus_call_async(bus(), &slot, call.get(), replied, &reply, UINT64_MAX) < 0) return nullptr;
    const BusSlotHandle waiting(slot);
    waitUntil([&] { return reply != nullptr; }, end);
    return reply;
  }

  // Serves the bus meanwhile. False when it was lost or the time is over.
  bool waitUntil(const std::function<bool()>& over, Clock::time_point end) {
    while (!over()) {
      const int processed = sd_bus_process(bus(), nullptr);
      if (processed < 0) return false;
      const auto left = std::chrono::duration_cast<std::chrono::microseconds>(end - Clock::now());
      if (left.count() <= 0) return over();
      if (processed > 0) continue;
      const int waited = sd_bus_wait(bus(), static_cast<std::uint64_t>(left.count()));
      if (waited < 0 && waited != -EINTR) return false;
    }
    return true;
  }

  SessionInstance& _place;
  Times _times;
};

SessionInstance::Claim SessionInstance::claim(const BusEndpoint& bus, const ActivationToken& token,
                                              const Times& times) {
  BusHandle opened = openedBus(bus);
  if (!opened) return {Outcome::alone, nullptr};
  std::unique_ptr<SessionInstance> place(new SessionInstance(std::move(opened)));
  // Before the name: whoever finds that calls at once.
  if (!place->addObject()) return {Outcome::alone, nullptr};
  const Outcome outcome = Claiming(*place, times).claim(token);
  return {outcome, outcome == Outcome::first ? std::move(place) : nullptr};
}

bool SessionInstance::addObject() {
  sd_bus_slot* slot = nullptr;
  if (sd_bus_add_object_vtable(_bus.get(), &slot, kPath, kInterface, Members::table(), this) < 0) return false;
  _object.reset(slot);
  return true;
}

void SessionInstance::serve(FileDescriptorWatcher& watcher, std::function<void(const ActivationToken&)> activated) {
  _activated = std::move(activated);
  _watch = watcher.watchFileDescriptor(sd_bus_get_fd(_bus.get()), FileDescriptorWatcher::Direction::readable,
                                       [this] { take(); });
  take();
}

void SessionInstance::take() {
  int processed = 1;
  for (int taken = 0; taken < kMessagesPerTurn && processed > 0; ++taken) {
    processed = sd_bus_process(_bus.get(), nullptr);
  }
  // The bus has gone: its descriptor would be ready for ever.
  if (processed < 0 || sd_bus_is_open(_bus.get()) <= 0) _watch.reset();
  // Several who ask at once are shown one window.
  if (const auto asked = std::exchange(_asked, std::nullopt)) _activated(*asked);
}

}  // namespace zpk
