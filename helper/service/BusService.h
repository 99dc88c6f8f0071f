#pragma once

#include <systemd/sd-bus.h>

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "helper/service/BusSubscriberLink.h"
#include "helper/service/CallerCheck.h"
#include "helper/service/CommandRights.h"
#include "helper/service/EventLoop.h"
#include "helper/service/HelperLog.h"
#include "helper/service/PolkitAuthority.h"
#include "helper/service/WorkerThread.h"
#include "helper/service/model/CallerRights.h"
#include "helper/service/model/HelperModel.h"
#include "helper/service/model/Subscribers.h"
#include "platform/linux/wire/BusHandles.h"
#include "platform/linux/wire/DBusNames.h"

namespace zpk {

// The helper on the bus: takes calls, checks who calls and with what, has the model answer, and tells subscribers.
//
// One object at kHelperObjectPath with the members of kDaemonMembers and of kMaintenanceMembers. Arguments of other
// types than theirs are refused before anything here sees them. On the session bus the user whose helper it is may
// do everything, and nobody else anything; on the system bus everybody may look, and CommandRights.h says what else
// takes which leave. Who may not gets an error reply, and at his receive ports a state that tells why; nobody else
// hears of it. The loop's thread.
class BusService {
 public:
  enum class Kind { session, system };

  // An open connection of that kind's bus; a sentence when there is none.
  static Expected<BusHandle, std::string> connect(Kind kind);

  // Everything handed in must outlive the service.
  BusService(sd_bus* bus, Kind kind, EventLoop& loop, HelperModel& model, HelperLog& log);
  ~BusService();
  BusService(const BusService&) = delete;
  BusService& operator=(const BusService&) = delete;

  // Serves the object, then takes the name. A sentence when that fails, as it does when another helper has it.
  Expected<Done, std::string> begin();

  void stateChanged(HelperModel::Weight weight);

 private:
  // A call that waits for leave, or has it.
  struct Command {
    BusMessageHandle message;
    std::variant<DaemonMember, MaintenanceMember> member;
    uid_t caller;
    Right right;
    std::shared_ptr<const ZPKDisk> target;  // Of a restore: what leave was given for.
  };

  static int onCall(sd_bus_message* message, void* service, sd_bus_error* error);
  void decide(Command command);
  std::optional<ResultCode> whyInVain(Command& command) const;
  void refuse(const Command& command, Refusal refusal);
  void carryOut(const Command& command);
  int dispatch(const Command& command, sd_bus_error* error);
  int dispatch(DaemonMember member, const Command& command, sd_bus_error* error);
  int dispatch(MaintenanceMember member, const Command& command, sd_bus_error* error);
  int checkIn(sd_bus_message* message, uid_t caller, sd_bus_error* error);
  int collect(sd_bus_message* message, uid_t caller);
  int replyDictionary(sd_bus_message* message, const Dictionary& dictionary, sd_bus_error* error);
  HelperModel::Answer later(sd_bus_message* message);
  void answer(std::uint64_t id, ResultCode code);
  StatePush currentState() const;

  sd_bus* _bus;
  EventLoop& _loop;
  HelperModel& _model;
  HelperLog& _log;
  const Kind _kind;
  CallerCheck _callers;
  BusSubscriberLink _link;
  PolkitAuthority _authority;
  Subscribers _subscribers;
  CallerRights _rights;
  std::vector<sd_bus_vtable> _members;
  std::vector<sd_bus_vtable> _maintenanceMembers;
  BusSlotHandle _object;
  BusSlotHandle _maintenance;
  // Calls that are answered later. They stay here, on the loop's thread: sd-bus's references are not for two
  // threads.
  std::map<std::uint64_t, BusMessageHandle> _unanswered;
  std::uint64_t _lastId = 0;
  int _collecting = 0;
  // For log collections alone, which wait for a folder of the caller's choosing. Last, so that it ends first.
  WorkerThread _collector;
};

}  // namespace zpk
