#include "platform/linux/link/BusConnection.h"

#include <poll.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace zpk {
namespace {

// Above this many unsent messages strangers get no answer, so that they cannot make the queue grow.
constexpr std::uint64_t kMaxQueuedBeforeSilence = 64;
constexpr std::size_t kMaxErrorText = 256;

// The sender of what sd-bus tells about the connection itself.
constexpr std::string_view kLocalSender = "org.freedesktop.DBus.Local";

}  // namespace

BusHandle openedBus(const BusEndpoint& endpoint) {
  sd_bus* bus = nullptr;
  if (endpoint.address.empty()) {
    const int opened = endpoint.which == WhichBus::system ? sd_bus_open_system(&bus) : sd_bus_open_user(&bus);
    return BusHandle(opened < 0 ? nullptr : bus);
  }
  if (sd_bus_new(&bus) < 0) return nullptr;
  BusHandle handle(bus);
  if (sd_bus_set_address(bus, endpoint.address.c_str()) < 0 || sd_bus_set_bus_client(bus, 1) < 0) return nullptr;
  if (sd_bus_start(bus) < 0) return nullptr;
  return handle;
}

std::unique_ptr<BusConnection> BusConnection::start(const BusEndpoint& endpoint, Gate gate,
                                                    std::function<void()> strangerDropped) {
  BusHandle bus = openedBus(endpoint);
  if (!bus) return nullptr;
  std::unique_ptr<BusConnection> connection(
      new BusConnection(std::move(bus), std::move(gate), std::move(strangerDropped)));
  if (!connection->_filter) return nullptr;
  return connection;
}

BusConnection::BusConnection(BusHandle bus, Gate gate, std::function<void()> strangerDropped)
    : _gate(std::move(gate)), _strangerDropped(std::move(strangerDropped)), _bus(std::move(bus)) {
  sd_bus_slot* slot = nullptr;
  if (sd_bus_add_filter(_bus.get(), &slot, received, this) >= 0) _filter.reset(slot);
}

bool BusConnection::isReady() const {
  return !_busId.empty();
}

int BusConnection::descriptor() const {
  return sd_bus_get_fd(_bus.get());
}

short BusConnection::events() const {
  const int events = sd_bus_get_events(_bus.get());
  return static_cast<short>(events < 0 ? 0 : events);
}

int BusConnection::received(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
  auto* connection = static_cast<BusConnection*>(self);
  const char* sender = sd_bus_message_get_sender(message);
  std::uint8_t type = 0;
  sd_bus_message_get_type(message, &type);
  if (sender != nullptr && sender == kLocalSender) return 1;
  if (sender == nullptr || (std::strcmp(sender, kBusDriver) != 0 && !connection->_gate(sender, type))) {
    connection->turnAway(message);
    return 1;
  }
  connection->_received.reset(sd_bus_message_ref(message));
  return 1;
}

void BusConnection::turnAway(sd_bus_message* message) {
  _strangerDropped();
  std::uint64_t queued = 0;
  if (sd_bus_message_is_method_call(message, nullptr, nullptr) <= 0) return;
  if (sd_bus_get_n_queued_write(_bus.get(), &queued) < 0 || queued > kMaxQueuedBeforeSilence) return;
  sd_bus_reply_method_errorf(message, SD_BUS_ERROR_ACCESS_DENIED, "Only the helper may call here");
}

BusConnection::Taken BusConnection::take() {
  Taken taken;
  const int processed = sd_bus_process(_bus.get(), nullptr);
  taken.message = std::move(_received);
  if (processed < 0 || sd_bus_is_open(_bus.get()) <= 0) {
    taken.step = Step::lost;
    return taken;
  }
  if (!isReady()) noteIdentity();
  taken.step = processed > 0 ? Step::progress : Step::nothing;
  return taken;
}

void BusConnection::noteIdentity() {
  if (sd_bus_is_ready(_bus.get()) <= 0) return;
  sd_id128_t id;
  char text[SD_ID128_STRING_MAX];
  if (sd_bus_get_bus_id(_bus.get(), &id) >= 0) _busId = sd_id128_to_string(id, text);
}

BusMessageHandle BusConnection::newCall(const std::string& destination, const char* path, const char* interface,
                                        const char* member) const {
  sd_bus_message* call = nullptr;
  if (sd_bus_message_new_method_call(_bus.get(), &call, destination.c_str(), path, interface, member) < 0)
    return nullptr;
  // Who gives a command can be asked for a password for it.
  sd_bus_message_set_allow_interactive_authorization(call, 1);
  return BusMessageHandle(call);
}

std::optional<std::uint64_t> BusConnection::send(sd_bus_message* call) {
  std::uint64_t cookie = 0;
  if (sd_bus_send(_bus.get(), call, &cookie) < 0) return std::nullopt;
  return cookie;
}

void waitForConnection(const BusConnection& connection, BusConnection::Clock::duration atMost, int wake) {
  pollfd polled[2] = {{connection.descriptor(), connection.events(), 0}, {wake, POLLIN, 0}};
  const auto left = std::max(atMost, BusConnection::Clock::duration::zero());
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
  const auto rest = std::chrono::duration_cast<std::chrono::nanoseconds>(left - seconds);
  const timespec time{static_cast<time_t>(seconds.count()), static_cast<long>(rest.count())};
  ppoll(polled, 2, &time, nullptr);
}

bool mayAnswerFor(sd_bus_message* reply, std::string_view peer) {
  const char* sender = sd_bus_message_get_sender(reply);
  if (sender == nullptr) return false;
  if (peer == sender) return true;
  return std::strcmp(sender, kBusDriver) == 0 && sd_bus_message_is_method_error(reply, nullptr) > 0;
}

std::optional<std::string> errorTextOf(sd_bus_message* reply) {
  const sd_bus_error* error = sd_bus_message_get_error(reply);
  if (error == nullptr) return std::nullopt;
  std::string text = error->name != nullptr ? error->name : "error";
  if (error->message != nullptr) text.append(": ").append(error->message);
  if (text.size() > kMaxErrorText) text.resize(kMaxErrorText);
  return text;
}

}  // namespace zpk
