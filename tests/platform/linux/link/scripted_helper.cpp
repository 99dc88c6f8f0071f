// A helper that does as it is told, for the tests of the link: what a command's text argument says, it does before,
// instead of or after answering. Arguments: the bus's address.
//
//   setBackupSource "code N"      answers N                  "error" / "wrong-type" / "silence"  answers so
//                   "late MS"     answers after that time    "die" / "die-half" / "die-after"    around its answer
//                   "push N"      pushes N statuses, each waiting for the return, then answers how many were taken
//                   "burst N"     pushes N without waiting and answers behind them; "answer-burst N" before them,
//                   "last-burst N" too, and then it ends
//                   "push-bytes N"  pushes one status of N bytes, "push-levels N" of N levels; answers 1 if refused
//                   "push-garbage"  pushes what is no status; answers 1 if refused
//                   "need-reload"  asks, and answers with 0 or 1; "remind N" asks N times, fifty times a second,
//                   and never answers
//   status   {"checkins": how many, "laststatetime": of the last one, "caller": its unique name}
//   everything else answers 0

#include <systemd/sd-bus.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <string>

#include "base/Record.h"
#include "platform/linux/wire/BusHandles.h"
#include "platform/linux/wire/DBusNames.h"
#include "platform/linux/wire/WireForm.h"

namespace zpk::tests {
namespace {

class ScriptedHelper {
 public:
  explicit ScriptedHelper(BusHandle bus) : _bus(std::move(bus)) {}

  [[noreturn]] void serve() {
    while (true) {
      sd_bus_message* message = nullptr;
      const int processed = sd_bus_process(_bus.get(), &message);
      const BusMessageHandle owned(message);
      if (processed < 0) _exit(1);
      if (message != nullptr && sd_bus_message_is_method_call(message, kDaemonInterface, nullptr) > 0)
        answer(message);
      if (processed == 0) sd_bus_wait(_bus.get(), UINT64_MAX);
    }
  }

 private:
  void answer(sd_bus_message* call) {
    const std::string called = sd_bus_message_get_member(call);
    if (called == member(DaemonMember::status).name) return answerStatus(call);
    if (called == member(DaemonMember::setBackupSource).name) {
      const char* script = nullptr;
      sd_bus_message_read(call, "s", &script);
      return act(call, script);
    }
    if (called == member(DaemonMember::checkInWithPort).name) {
      const char* path = nullptr;
      sd_bus_message_read(call, "ox", &path, &_lastStateTime);
      _path = path;
      _caller = sd_bus_message_get_sender(call);
      ++_checkIns;
    }
    result(call, 0);
  }

  void answerStatus(sd_bus_message* call) {
    sd_bus_message* reply = nullptr;
    sd_bus_message_new_method_return(call, &reply);
    const BusMessageHandle owned(reply);
    const Dictionary status{{"checkins", _checkIns}, {"laststatetime", _lastStateTime}, {"caller", _caller}};
    if (appendDictionary(reply, status)) sd_bus_send(_bus.get(), reply, nullptr);
  }

  void act(sd_bus_message* call, const std::string& script) {
    const std::string verb = script.substr(0, script.find(' '));
    const int number = std::atoi(script.substr(verb.size()).c_str());
    if (verb == "code") return result(call, number);
    if (verb == "error") {
      sd_bus_reply_method_errorf(call, "com.tarnwick.Error", "told to fail");
    } else if (verb == "wrong-type") {
      sd_bus_reply_method_return(call, "s", "text");
    } else if (verb == "late") {
      usleep(static_cast<useconds_t>(number) * 1000);
      result(call, 0);
    } else if (verb.starts_with("die")) {
      die(call, verb);
    } else if (verb != "silence") {
      push(call, verb, number);
    }
  }

  [[noreturn]] void die(sd_bus_message* call, const std::string& how) {
    if (how == "die-after") {
      result(call, 0);
      sd_bus_flush(_bus.get());
    } else if (how == "die-half") {
      // The head of a method return that announces a long body, and no more.
      const unsigned char head[] = {'l', 2, 1, 1, 0, 1, 0, 0, 9, 0, 0, 0, 0, 1, 0, 0, 5, 1, 'u', 0, 1, 0, 0, 0};
      if (write(sd_bus_get_fd(_bus.get()), head, sizeof head) < 0) _exit(2);
    }
    _exit(0);
  }

  void push(sd_bus_message* call, const std::string& verb, int number) {
    if (verb == "push") {
      int taken = 0;
      for (int i = 1; i <= number; ++i) taken += pushed(Dictionary{{"statetime", i}}) ? 1 : 0;
      result(call, taken);
    } else if (verb == "burst") {
      burst(number);
      result(call, 0);
    } else if (verb == "answer-burst" || verb == "last-burst") {
      result(call, 0);
      burst(number);
      if (verb == "last-burst") _exit(0);
    } else if (verb == "push-bytes") {
      // 24 bytes stand around the block, see WireForm_test.
      const BusMessageHandle message = rawPush("ay", [&](sd_bus_message* m) {
        void* room = nullptr;
        const std::size_t size = static_cast<std::size_t>(number) - 24;
        sd_bus_message_append_array_space(m, 'y', size, &room);
        std::fill_n(static_cast<char*>(room), size, '\0');
      });
      result(call, taken(message.get()) ? 0 : 1);
    } else if (verb == "push-levels") {
      result(call, taken(nestedPush(number).get()) ? 0 : 1);
    } else if (verb == "push-garbage") {
      const BusMessageHandle message =
          rawPush("(sa{sv})", [](sd_bus_message* m) { sd_bus_message_append(m, "(sa{sv})", "NoSuchClass", 0); });
      result(call, taken(message.get()) ? 0 : 1);
    } else if (verb == "need-reload") {
      result(call, needReload());
    } else if (verb == "remind") {
      for (int i = 0; i < number; ++i) {
        needReload();
        usleep(20'000);
      }
    }
  }

  BusMessageHandle newPush(DelegateMember row = DelegateMember::stateChangedWithStatus) {
    sd_bus_message* message = nullptr;
    sd_bus_message_new_method_call(_bus.get(), &message, _caller.c_str(), _path.c_str(), kDelegateInterface,
                                   member(row).name);
    return BusMessageHandle(message);
  }

  template <class Fill>
  BusMessageHandle rawPush(const char* type, const Fill& fill) {
    BusMessageHandle message = newPush();
    sd_bus_message_open_container(message.get(), 'a', "{sv}");
    sd_bus_message_open_container(message.get(), 'e', "sv");
    sd_bus_message_append(message.get(), "s", "a");
    sd_bus_message_open_container(message.get(), 'v', type);
    fill(message.get());
    for (int i = 0; i < 3; ++i) sd_bus_message_close_container(message.get());
    return message;
  }

  BusMessageHandle nestedPush(int levels) {
    return rawPush("av", [&](sd_bus_message* m) {
      for (int i = 2; i < levels; ++i) {
        sd_bus_message_open_container(m, 'a', "v");
        sd_bus_message_open_container(m, 'v', "av");
      }
      sd_bus_message_append(m, "av", 0);
      for (int i = 2; i < levels; ++i) {
        sd_bus_message_close_container(m);
        sd_bus_message_close_container(m);
      }
    });
  }

  void burst(int count) {
    for (int i = 1; i <= count; ++i) {
      const BusMessageHandle message = newPush();
      if (appendDictionary(message.get(), Dictionary{{"statetime", i}}))
        sd_bus_send(_bus.get(), message.get(), nullptr);
    }
    sd_bus_flush(_bus.get());
  }

  bool pushed(const Dictionary& status) {
    const BusMessageHandle message = newPush();
    return appendDictionary(message.get(), status) && taken(message.get());
  }
  bool taken(sd_bus_message* message) {
    return sd_bus_call(_bus.get(), message, 10'000'000, nullptr, nullptr) >= 0;
  }

  int needReload() {
    sd_bus_message* reply = nullptr;
    int answer = -1;
    const BusMessageHandle question = newPush(DelegateMember::needReload);
    if (sd_bus_call(_bus.get(), question.get(), 10'000'000, nullptr, &reply) >= 0)
      sd_bus_message_read(reply, "b", &answer);
    sd_bus_message_unref(reply);
    return answer;
  }

  void result(sd_bus_message* call, int code) {
    sd_bus_reply_method_return(call, "u", static_cast<std::uint32_t>(code));
  }

  BusHandle _bus;
  int _checkIns = 0;
  std::int64_t _lastStateTime = 0;
  std::string _caller;
  std::string _path;
};

}  // namespace
}  // namespace zpk::tests

int main(int count, char** arguments) {
  sd_bus* bus = nullptr;
  if (count < 2 || sd_bus_new(&bus) < 0) return 2;
  zpk::BusHandle handle(bus);
  if (sd_bus_set_address(bus, arguments[1]) < 0 || sd_bus_set_bus_client(bus, 1) < 0 || sd_bus_start(bus) < 0)
    return 2;
  if (sd_bus_request_name(bus, zpk::kHelperBusName, 0) < 0) return 3;
  zpk::tests::ScriptedHelper(std::move(handle)).serve();
}
