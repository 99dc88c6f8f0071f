#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "base/Value.h"
#include "helperlink/ZPKDaemonProtocol.h"

namespace zpk {

// The process at the other end of a FakeLinkTransport: what it was asked and what it says. Commands go by their
// names on the wire ("pin_arcItem_withLabel").
//
// Set up on the main thread; commands may come from any.
class FakeHelper {
 public:
  struct Call {
    std::string command;
    Array arguments;             // all but ports
    std::shared_ptr<Port> port;  // of a check-in
  };

  // Answers every later call of `command` with `result`. Without this the answer is 0, to `status` an empty status.
  void answer(std::string_view command, Value result);
  // Answers one call so, in the order of these, before the standing answer holds again.
  void answerOnce(std::string_view command, Value result);
  // Does `act` on each call of `command`, after the call was recorded and before the answer: push, die, throw.
  void whenCalled(std::string_view command, std::function<void()> act);

  std::vector<Call> calls() const;
  std::vector<std::string> commands() const;
  std::size_t count(std::string_view command) const;
  // The newest call of `command`; a call of nothing when there was none.
  Call lastCall(std::string_view command) const;
  void forgetCalls();

  // Serves one command; used by the link.
  Value serve(Call call);

 private:
  Value takeAnswer(std::string_view command);

  mutable std::mutex _mutex;
  std::vector<Call> _calls;
  std::map<std::string, Value, std::less<>> _answers;
  std::map<std::string, std::deque<Value>, std::less<>> _answersOnce;
  std::map<std::string, std::function<void()>, std::less<>> _acts;
};

}  // namespace zpk
