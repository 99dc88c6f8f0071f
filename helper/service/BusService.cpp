#include "helper/service/BusService.h"

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <utility>

#include "helper/service/DiskWords.h"
#include "helper/service/LogCollection.h"
#include "helper/service/VerificationWords.h"
#include "platform/posix/FileDescriptor.h"
#include "records/ZPKDisk.h"

namespace zpk {
namespace {

// Collections that may wait for their folders at one time.
constexpr int kMostCollections = 4;

int reply(sd_bus_message* message, ResultCode code) {
  return sd_bus_reply_method_return(message, "u", static_cast<std::uint32_t>(code));
}

// The members as sd-bus takes them: one handler for all, which finds its row by name.
template <class Table>
std::vector<sd_bus_vtable> busMembers(const Table& table, sd_bus_message_handler_t handler) {
  std::vector<sd_bus_vtable> members;
  members.push_back(SD_BUS_VTABLE_START(0));
  for (const DBusMember& row : table) {
    members.push_back(SD_BUS_METHOD(row.name, row.in, row.out, handler, SD_BUS_VTABLE_UNPRIVILEGED));
  }
  members.push_back(SD_BUS_VTABLE_END);
  return members;
}

// The row of that name, as the enumeration of the table's rows has it.
template <class Member, class Table>
std::optional<Member> memberAt(const Table& table, std::string_view name) {
  const auto row = std::ranges::find_if(table, [&](const DBusMember& known) { return known.name == name; });
  if (row == table.end()) return std::nullopt;
  return static_cast<Member>(row - table.begin());
}

std::string textArgument(sd_bus_message* message) {
  const char* text = nullptr;
  sd_bus_message_read_basic(message, 's', &text);
  return text ? text : "";
}

std::uint64_t numberArgument(sd_bus_message* message) {
  std::uint64_t number = 0;
  sd_bus_message_read_basic(message, 't', &number);
  return number;
}

bool flagArgument(sd_bus_message* message) {
  int flag = 0;
  sd_bus_message_read_basic(message, 'b', &flag);
  return flag != 0;
}

struct RestoreArguments {
  std::uint64_t item = 0;
  RestoreChoice choice;
};

RestoreArguments restoreArguments(sd_bus_message* message) {
  sd_bus_message_rewind(message, 1);
  RestoreArguments arguments;
  arguments.item = numberArgument(message);
  arguments.choice.identifier = textArgument(message);
  arguments.choice.number = numberArgument(message);
  arguments.choice.size = numberArgument(message);
  return arguments;
}

// Why a command was refused, in a sentence for the one who gave it.
std::string sentenceOf(Refusal refusal, Right right) {
  const std::string what = std::string("You are not allowed to ") + rowOf(right).words;
  switch (refusal) {
    case Refusal::notAllowed:
      break;
    case Refusal::needsPerson:
      return what + " without an administrator's password, and nobody can be asked for it here.";
    case Refusal::noAnswer:
      return what + ": nobody gave leave in time. Try again.";
    case Refusal::noAuthority:
      return what + ": the system's authorisation service (polkit) is not there, and without it only root may.";
    case Refusal::tooManyAtOnce:
      return what + ": too many of your requests wait for leave already. Answer them first.";
  }
  return what + ". Ask an administrator of this computer.";
}

}  // namespace

Expected<BusHandle, std::string> BusService::connect(Kind kind) {
  sd_bus* bus = nullptr;
  const int error = kind == Kind::session ? sd_bus_open_user(&bus) : sd_bus_open_system(&bus);
  if (error < 0) {
    return std::string("there is no ") + (kind == Kind::session ? "session" : "system") +
           " bus to serve on: " + systemReason(-error);
  }
  return BusHandle(bus);
}

BusService::BusService(sd_bus* bus, Kind kind, EventLoop& loop, HelperModel& model, HelperLog& log)
    : _bus(bus),
      _loop(loop),
      _model(model),
      _log(log),
      _kind(kind),
      _callers(bus, kind == Kind::session ? CallerCheck::Rule::sameUser : CallerCheck::Rule::busPolicy),
      _link(bus, loop, log),
      _authority(bus, loop, log),
      _subscribers(_link, {[this] { return currentState(); }, [this] { _model.lookAgain(); },
                           [this] { _model.errorWasShown(); }}),
      _rights(_authority, loop,
              {[this](const std::string& peer, std::function<void()> gone) {
                 return _link.watchPeer(peer, std::move(gone));
               },
               [this](const std::string& peer) { _subscribers.remind(peer); }}),
      _members(busMembers(kDaemonMembers, onCall)),
      _maintenanceMembers(busMembers(kMaintenanceMembers, onCall)) {}

BusService::~BusService() {
  sd_bus_detach_event(_bus);
}

Expected<Done, std::string> BusService::begin() {
  sd_bus_slot* slot = nullptr;
  int error = sd_bus_add_object_vtable(_bus, &slot, kHelperObjectPath, kDaemonInterface, _members.data(), this);
  _object.reset(slot);
  if (error >= 0) {
    error = sd_bus_add_object_vtable(_bus, &slot, kHelperObjectPath, kMaintenanceInterface,
                                     _maintenanceMembers.data(), this);
    if (error >= 0) _maintenance.reset(slot);
  }
  if (error >= 0) error = sd_bus_set_exit_on_disconnect(_bus, 1);
  if (error >= 0) error = sd_bus_attach_event(_bus, _loop.handle(), SD_EVENT_PRIORITY_NORMAL);
  if (error >= 0) error = sd_bus_request_name(_bus, kHelperBusName, 0);
  if (error == -EEXIST) return std::string("another helper serves on this bus already");
  if (error < 0) return "the name " + std::string(kHelperBusName) + " cannot be had: " + systemReason(-error);
  return Done{};
}

StatePush BusService::currentState() const {
  const HelperFacts& facts = _model.facts();
  return {facts.stateTime, std::make_shared<const Dictionary>(statusOf(facts)), false,
          facts.operationError.has_value()};
}

void BusService::stateChanged(HelperModel::Weight weight) {
  if (_subscribers.empty()) return;
  StatePush push = currentState();
  push.isMilestone = weight == HelperModel::Weight::milestone;
  _subscribers.stateChanged(push);
}

int BusService::onCall(sd_bus_message* message, void* data, sd_bus_error* error) {
  auto* service = static_cast<BusService*>(data);
  const std::optional<uid_t> caller = service->_callers.admit(message);
  if (!caller) return sd_bus_error_set(error, SD_BUS_ERROR_ACCESS_DENIED, "The helper does not serve this caller.");
  const std::string_view interface = sd_bus_message_get_interface(message);
  const std::string_view name = sd_bus_message_get_member(message);
  std::optional<std::variant<DaemonMember, MaintenanceMember>> member =
      memberAt<DaemonMember>(kDaemonMembers, name);
  if (interface == kMaintenanceInterface) member = memberAt<MaintenanceMember>(kMaintenanceMembers, name);
  const std::optional<Right> right = rightFor(interface, name);
  if (!member || !right) return sd_bus_error_set(error, SD_BUS_ERROR_ACCESS_DENIED, "Nobody may do this.");
  Command command{BusMessageHandle(sd_bus_message_ref(message)), *member, *caller, *right, nullptr};
  if (*right == Right::everybody || service->_kind == Kind::session) return service->dispatch(command, error);
  service->decide(std::move(command));
  return 1;
}

// Nobody is asked for a password for what cannot be done anyway.
std::optional<ResultCode> BusService::whyInVain(Command& command) const {
  if (command.right == Right::stop) return std::nullopt;
  if (!_model.takesCommands()) return ResultCode::serviceIsBusy;
  if (command.right != Right::restore) return std::nullopt;
  const RestoreArguments arguments = restoreArguments(command.message.get());
  const auto target = _model.restoreTarget(arguments.item, arguments.choice);
  if (!target) return target.error();
  command.target = *target;
  return std::nullopt;
}

void BusService::decide(Command command) {
  sd_bus_message* message = command.message.get();
  if (const auto code = whyInVain(command)) {
    reply(message, *code);
    return;
  }
  AuthorityQuestion question{sd_bus_message_get_sender(message), rowOf(command.right).action, {}, false};
  question.mayAsk = sd_bus_message_get_allow_interactive_authorization(message) > 0;
  if (command.target) question.details = diskDetails(*command.target);
  const uid_t caller = command.caller;
  auto kept = std::make_shared<const Command>(std::move(command));
  _rights.decide(question, caller, [this, kept](std::optional<Refusal> refusal) {
    if (refusal) return refuse(*kept, *refusal);
    carryOut(*kept);
  });
}

void BusService::refuse(const Command& command, Refusal refusal) {
  sd_bus_message* message = command.message.get();
  const std::string text = sentenceOf(refusal, command.right);
  _log.line("ZPKH::Refused: " + std::string(sd_bus_message_get_member(message)) + " of user " +
            std::to_string(command.caller) + ": " + text);
  _subscribers.tell(sd_bus_message_get_sender(message), text);
  const char* name = refusal == Refusal::needsPerson ? SD_BUS_ERROR_INTERACTIVE_AUTHORIZATION_REQUIRED
                                                     : SD_BUS_ERROR_ACCESS_DENIED;
  sd_bus_reply_method_errorf(message, name, "%s", text.c_str());
}

void BusService::carryOut(const Command& command) {
  sd_bus_error error{};
  const int result = dispatch(command, &error);
  if (sd_bus_error_is_set(&error) != 0) {
    sd_bus_reply_method_error(command.message.get(), &error);
  } else if (result < 0) {
    sd_bus_reply_method_errno(command.message.get(), result, nullptr);
  }
  sd_bus_error_free(&error);
}

int BusService::dispatch(const Command& command, sd_bus_error* error) {
  return std::visit([&](auto member) { return dispatch(member, command, error); }, command.member);
}

int BusService::dispatch(MaintenanceMember member, const Command& command, sd_bus_error* error) {
  sd_bus_message* message = command.message.get();
  switch (member) {
    case MaintenanceMember::verify:
      return reply(message, _model.verify());
    case MaintenanceMember::lastVerification:
      return replyDictionary(message, wordsOf(_model.lastVerification()), error);
    case MaintenanceMember::pointHealth:
      return replyDictionary(message, healthWords(_model.facts().archive), error);
  }
  return 0;
}

int BusService::dispatch(DaemonMember member, const Command& command, sd_bus_error* error) {
  sd_bus_message* message = command.message.get();
  switch (member) {
    case DaemonMember::status:
      return replyDictionary(message, statusOf(_model.facts()), error);
    case DaemonMember::setBackupSource:
      return reply(message, _model.setBackupSource(textArgument(message)));
    case DaemonMember::setTargetPath:
      _model.setTargetPath(textArgument(message), later(message), command.caller);
      return 1;
    case DaemonMember::backup:
      _model.backup(later(message));
      return 1;
    case DaemonMember::restore: {
      const RestoreArguments arguments = restoreArguments(message);
      return reply(message, _model.restore(arguments.item, arguments.choice, command.target.get()));
    }
    case DaemonMember::checkInWithPort:
      return checkIn(message, command.caller, error);
    case DaemonMember::breakProgress:
      return reply(message, _model.breakProgress());
    case DaemonMember::collectLogsToPath:
      return collect(message, command.caller);
    case DaemonMember::mergeArchiveWithParent:
      return reply(message, _model.mergeArchiveWithParent(numberArgument(message)));
    case DaemonMember::setMaxIncrementsCount:
      return reply(message, _model.setMaxIncrementsCount(numberArgument(message)));
    case DaemonMember::reload:
      return reply(message, _model.reload());
    case DaemonMember::setCheckFS:
      return reply(message, _model.setCheckFS(flagArgument(message)));
    case DaemonMember::pin: {
      const bool flag = flagArgument(message);
      const std::uint64_t item = numberArgument(message);
      const std::string label = textArgument(message);
      _model.pin(flag, item, label, later(message));
      return 1;
    }
  }
  return 0;
}

int BusService::replyDictionary(sd_bus_message* message, const Dictionary& dictionary, sd_bus_error* error) {
  const auto make = [&] {
    sd_bus_message* made = nullptr;
    sd_bus_message_new_method_return(message, &made);
    return BusMessageHandle(made);
  };
  const BusMessageHandle answer = messageWithStatus(make, dictionary, _log);
  if (!answer) return sd_bus_error_set(error, SD_BUS_ERROR_FAILED, "The status is too large for the link.");
  return sd_bus_message_send(answer.get());
}

int BusService::checkIn(sd_bus_message* message, uid_t caller, sd_bus_error* error) {
  const char* path = nullptr;
  std::int64_t lastStateTime = 0;
  if (const int bad = sd_bus_message_read(message, "ox", &path, &lastStateTime); bad < 0) return bad;
  if (!_subscribers.checkIn({sd_bus_message_get_sender(message), path}, lastStateTime, caller)) {
    return sd_bus_error_set(error, SD_BUS_ERROR_LIMITS_EXCEEDED, "Too many front ends have checked in.");
  }
  return reply(message, ResultCode::success);
}

int BusService::collect(sd_bus_message* message, uid_t caller) {
  if (_collecting == kMostCollections) return reply(message, ResultCode::serviceIsBusy);
  ++_collecting;
  const std::string folder = textArgument(message);
  const HelperModel::Answer answer = later(message);
  _collector.async([this, folder, caller, answer, logs = _log.files()] {
    const std::string problem = collectLogs(logs, folder, caller);
    if (!problem.empty()) _log.line("ZPKH::Logs were not collected in " + folder + ": " + problem);
    const ResultCode code = problem.empty() ? ResultCode::success : ResultCode::noArchiveTargetDirectory;
    _loop.async([this, answer, code] {
      --_collecting;
      answer(code);
    });
  });
  return 1;
}

HelperModel::Answer BusService::later(sd_bus_message* message) {
  const std::uint64_t id = ++_lastId;
  _unanswered.emplace(id, BusMessageHandle(sd_bus_message_ref(message)));
  return [this, id](ResultCode code) { answer(id, code); };
}

void BusService::answer(std::uint64_t id, ResultCode code) {
  const auto node = _unanswered.extract(id);
  if (node) reply(node.mapped().get(), code);
}

}  // namespace zpk
