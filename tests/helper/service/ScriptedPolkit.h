#pragma once

#include <systemd/sd-bus.h>

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "helper/service/TestBus.h"

namespace zpk::test {

// Stands for polkit on a bus of the test's own, on a thread of its own, and answers what the test wants.
class ScriptedPolkit {
 public:
  enum class Way { grants, refuses, asks, hangs, dies, saysOtherTypes, fails };
  struct Question {
    std::string peer;
    std::string action;
    std::map<std::string, std::string> details;
    std::uint32_t flags = 0;
    std::string cancellation;
  };

  ScriptedPolkit(const TestBus& bus, Way way) : _way(way), _bus(bus.open()) {
    static const sd_bus_vtable members[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD("CheckAuthorization", "(sa{sv})sa{ss}us", "(bba{ss})", onCheck, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("CancelCheckAuthorization", "s", "", onCancel, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_VTABLE_END};
    sd_bus_add_object_vtable(_bus.get(), nullptr, "/org/freedesktop/PolicyKit1/Authority",
                             "org.freedesktop.PolicyKit1.Authority", members, this);
    if (sd_bus_request_name(_bus.get(), "org.freedesktop.PolicyKit1", 0) < 0) {
      throw std::runtime_error("no name for polkit");
    }
    _thread = std::thread([this] { serve(); });
  }
  ~ScriptedPolkit() {
    _ends = true;
    _thread.join();
  }
  ScriptedPolkit(const ScriptedPolkit&) = delete;
  ScriptedPolkit& operator=(const ScriptedPolkit&) = delete;

  void setWay(Way way) { _way = way; }
  std::vector<Question> questions() const {
    const std::lock_guard lock(_mutex);
    return _questions;
  }
  std::vector<std::string> cancelled() const {
    const std::lock_guard lock(_mutex);
    return _cancelled;
  }
  // Grants what hangs.
  void grantAfterAll() { _grantsLate = true; }

 private:
  void serve() {
    while (!_ends && _bus) {
      const int served = sd_bus_process(_bus.get(), nullptr);
      if (served < 0) break;
      if (_dies) _bus.reset();
      if (_grantsLate.exchange(false)) {
        for (const BusMessageHandle& waiting : std::exchange(_hanging, {})) reply(waiting.get(), 1, 0);
      }
      if (served == 0 && _bus) sd_bus_wait(_bus.get(), 10'000);
    }
    _hanging.clear();
    _bus.reset();
  }

  static int reply(sd_bus_message* message, int granted, int challenge) {
    return sd_bus_reply_method_return(message, "(bba{ss})", granted, challenge, 0);
  }

  static Question questionIn(sd_bus_message* message) {
    Question question;
    const char* peer = nullptr;
    const char* action = nullptr;
    const char* cancellation = nullptr;
    sd_bus_message_read(message, "(sa{sv})s", nullptr, 1, nullptr, "s", &peer, &action);
    sd_bus_message_enter_container(message, 'a', "{ss}");
    const char* key = nullptr;
    const char* value = nullptr;
    while (sd_bus_message_read(message, "{ss}", &key, &value) > 0) question.details[key] = value;
    sd_bus_message_exit_container(message);
    sd_bus_message_read(message, "us", &question.flags, &cancellation);
    question.peer = peer ? peer : "";
    question.action = action ? action : "";
    question.cancellation = cancellation ? cancellation : "";
    return question;
  }

  static int onCheck(sd_bus_message* message, void* data, sd_bus_error* error) {
    auto* self = static_cast<ScriptedPolkit*>(data);
    const Question question = questionIn(message);
    {
      const std::lock_guard lock(self->_mutex);
      self->_questions.push_back(question);
    }
    switch (self->_way.load()) {
      case Way::grants:
        return reply(message, 1, 0);
      case Way::refuses:
        return reply(message, 0, 0);
      case Way::asks:
        return reply(message, question.flags == 1 ? 1 : 0, question.flags == 1 ? 0 : 1);
      case Way::hangs:
        self->_hanging.emplace_back(sd_bus_message_ref(message));
        return 1;
      case Way::dies:
        self->_dies = true;
        return 1;
      case Way::saysOtherTypes:
        // As long as a grant, and true where that says so.
        return sd_bus_reply_method_return(message, "bba{ss}", 1, 1, 0);
      case Way::fails:
        break;
    }
    return sd_bus_error_set(error, "org.freedesktop.PolicyKit1.Error.Failed", "Action is not registered");
  }

  static int onCancel(sd_bus_message* message, void* data, sd_bus_error*) {
    auto* self = static_cast<ScriptedPolkit*>(data);
    const char* id = "";
    sd_bus_message_read(message, "s", &id);
    const std::lock_guard lock(self->_mutex);
    self->_cancelled.emplace_back(id);
    return sd_bus_reply_method_return(message, "");
  }

  std::atomic<Way> _way;
  std::atomic<bool> _ends = false;
  std::atomic<bool> _dies = false;
  std::atomic<bool> _grantsLate = false;
  mutable std::mutex _mutex;
  std::vector<Question> _questions;
  std::vector<std::string> _cancelled;
  std::vector<BusMessageHandle> _hanging;
  BusHandle _bus;
  std::thread _thread;
};

}  // namespace zpk::test
