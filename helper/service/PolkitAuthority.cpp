#include "helper/service/PolkitAuthority.h"

#include <array>
#include <chrono>
#include <cstring>
#include <string_view>
#include <utility>

namespace zpk {
namespace {

constexpr const char* kPolkit = "org.freedesktop.PolicyKit1";
constexpr const char* kPolkitPath = "/org/freedesktop/PolicyKit1/Authority";
constexpr const char* kPolkitInterface = "org.freedesktop.PolicyKit1.Authority";
constexpr std::uint32_t kMayAskFlag = 1;
// Whoever asks is less patient; this only keeps a call that nobody ends from staying for ever.
constexpr std::chrono::seconds kLongest{120};

// What the bus says when there is no polkit, and it cannot start one.
constexpr std::array kNobodyThere{SD_BUS_ERROR_SERVICE_UNKNOWN,
                                  SD_BUS_ERROR_NAME_HAS_NO_OWNER,
                                  "org.freedesktop.DBus.Error.Spawn.ExecFailed",
                                  "org.freedesktop.DBus.Error.Spawn.ServiceNotFound",
                                  "org.freedesktop.systemd1.NoSuchUnit",
                                  "org.freedesktop.systemd1.UnitMasked"};

bool saysNobodyIsThere(const sd_bus_error& error) {
  for (const char* name : kNobodyThere) {
    if (std::strcmp(error.name, name) == 0) return true;
  }
  return false;
}

int appendQuestion(sd_bus_message* call, const AuthorityQuestion& question, const std::string& cancellation) {
  int step = sd_bus_message_append(call, "(sa{sv})s", "system-bus-name", 1, "name", "s", question.peer.c_str(),
                                   question.action.c_str());
  if (step >= 0) step = sd_bus_message_open_container(call, 'a', "{ss}");
  for (const auto& [name, text] : question.details) {
    if (step >= 0) step = sd_bus_message_append(call, "{ss}", name.c_str(), text.c_str());
  }
  if (step >= 0) step = sd_bus_message_close_container(call);
  if (step < 0) return step;
  return sd_bus_message_append(call, "us", question.mayAsk ? kMayAskFlag : 0U, cancellation.c_str());
}

}  // namespace

Token PolkitAuthority::ask(const AuthorityQuestion& question, std::function<void(Verdict)> answered) {
  const std::string cancellation = "zpkhelper-" + std::to_string(++_lastQuestion);
  BusMessageHandle message = newCall("CheckAuthorization");
  if (message && appendQuestion(message.get(), question, cancellation) < 0) message.reset();
  const BusCalls::Id call =
      _calls.send(std::move(message), kLongest,
                  [this, answered = std::move(answered)](sd_bus_message* reply) { answered(verdictOf(reply)); });
  return Token([this, call, cancellation] {
    if (_calls.takeBack(call)) forget(cancellation);
  });
}

BusMessageHandle PolkitAuthority::newCall(const char* member) {
  sd_bus_message* message = nullptr;
  sd_bus_message_new_method_call(_bus, &message, kPolkit, kPolkitPath, kPolkitInterface, member);
  return BusMessageHandle(message);
}

Verdict PolkitAuthority::verdictOf(sd_bus_message* reply) {
  if (!reply) {
    _log.line("ZPKH::Polkit could not be asked");
    return Verdict::notUnderstood;
  }
  if (const sd_bus_error* error = sd_bus_message_get_error(reply)) {
    _log.line(std::string("ZPKH::Polkit: ") + error->name + ": " + (error->message ? error->message : ""));
    return saysNobodyIsThere(*error) ? Verdict::noAuthority : Verdict::notUnderstood;
  }
  int isAuthorized = 0;
  int isChallenge = 0;
  if (!isFromPolkit(reply) || sd_bus_message_has_signature(reply, "(bba{ss})") <= 0 ||
      sd_bus_message_enter_container(reply, 'r', "bba{ss}") <= 0 ||
      sd_bus_message_read(reply, "bb", &isAuthorized, &isChallenge) <= 0) {
    _log.line("ZPKH::Polkit gave no answer that can be understood");
    return Verdict::notUnderstood;
  }
  if (isAuthorized != 0) return Verdict::granted;
  return isChallenge != 0 ? Verdict::needsPerson : Verdict::refused;
}

// A bus that lets others send what looks like a reply exists only by mistake, but a grant is worth a question.
bool PolkitAuthority::isFromPolkit(sd_bus_message* reply) {
  const char* sender = sd_bus_message_get_sender(reply);
  sd_bus_creds* creds = nullptr;
  const char* owner = nullptr;
  const bool known = sd_bus_get_name_creds(_bus, kPolkit, SD_BUS_CREDS_UNIQUE_NAME, &creds) >= 0 &&
                     sd_bus_creds_get_unique_name(creds, &owner) >= 0;
  const bool isSame = known && sender && std::strcmp(sender, owner) == 0;
  sd_bus_creds_unref(creds);
  return isSame;
}

// Takes the dialog down, if there is one.
void PolkitAuthority::forget(const std::string& cancellation) {
  const BusMessageHandle message = newCall("CancelCheckAuthorization");
  if (!message || sd_bus_message_append(message.get(), "s", cancellation.c_str()) < 0) return;
  sd_bus_message_set_auto_start(message.get(), 0);
  sd_bus_message_set_expect_reply(message.get(), 0);
  sd_bus_send(_bus, message.get(), nullptr);
}

}  // namespace zpk
