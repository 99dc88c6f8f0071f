#include "tools/zpkctl/BusMaintenance.h"

#include <systemd/sd-bus.h>
#include <unistd.h>

#include <cstring>

#include "platform/linux/wire/BusHandles.h"
#include "platform/linux/wire/WireForm.h"
#include "records/RecordClasses.h"

namespace zpk::ctl {
namespace {

constexpr std::uint64_t kLongest = 60'000'000;  // Microseconds; the helper gives up the question before.

// On the system bus whoever is not root is not the helper.
bool isHelper(sd_bus* bus, bool sessionBus) {
  sd_bus_creds* creds = nullptr;
  if (sd_bus_get_name_creds(bus, kHelperBusName, SD_BUS_CREDS_EUID, &creds) < 0) return false;
  uid_t owner = 0;
  const bool known = sd_bus_creds_get_euid(creds, &owner) >= 0;
  sd_bus_creds_unref(creds);
  return known && owner == (sessionBus ? geteuid() : 0);
}

Expected<BusMessageHandle, std::string> call(bool sessionBus, const char* member) {
  sd_bus* opened = nullptr;
  const int failure = sessionBus ? sd_bus_open_user(&opened) : sd_bus_open_system(&opened);
  const BusHandle bus(opened);
  if (failure < 0 || !isHelper(opened, sessionBus)) return std::string("The backup helper cannot be reached.");
  sd_bus_message* made = nullptr;
  sd_bus_message_new_method_call(opened, &made, kHelperBusName, kHelperObjectPath, kMaintenanceInterface, member);
  const BusMessageHandle message(made);
  if (!message) return std::string("The backup helper cannot be called.");
  sd_bus_message_set_allow_interactive_authorization(made, 1);
  sd_bus_error error{};
  sd_bus_message* answer = nullptr;
  sd_bus_call(opened, made, kLongest, &error, &answer);
  const std::string reason = error.message ? error.message : "The backup helper does not answer.";
  sd_bus_error_free(&error);
  if (!answer) return reason;
  return BusMessageHandle(answer);
}

}  // namespace

Expected<std::uint32_t, std::string> BusMaintenance::verify() {
  const auto answer = call(_sessionBus, member(MaintenanceMember::verify).name);
  if (!answer) return answer.error();
  std::uint32_t code = 0;
  if (sd_bus_message_read(answer->get(), "u", &code) <= 0)
    return std::string("The backup helper is of another version.");
  return code;
}

Expected<Dictionary, std::string> BusMaintenance::lastVerification() {
  return dictionaryFrom(MaintenanceMember::lastVerification);
}

Expected<Dictionary, std::string> BusMaintenance::pointHealth() {
  return dictionaryFrom(MaintenanceMember::pointHealth);
}

Expected<Dictionary, std::string> BusMaintenance::dictionaryFrom(MaintenanceMember which) {
  const auto answer = call(_sessionBus, member(which).name);
  if (!answer) return answer.error();
  auto found = readDictionary(answer->get(), recordClasses());
  if (!found) return "What the backup helper tells cannot be read: " + found.error().reason;
  return std::move(*found);
}

}  // namespace zpk::ctl
