#include "support/FakeHelper.h"

#include <algorithm>
#include <utility>

namespace zpk {

void FakeHelper::answer(std::string_view command, Value result) {
  const std::lock_guard lock(_mutex);
  _answers.insert_or_assign(std::string(command), std::move(result));
}

void FakeHelper::answerOnce(std::string_view command, Value result) {
  const std::lock_guard lock(_mutex);
  _answersOnce[std::string(command)].push_back(std::move(result));
}

void FakeHelper::whenCalled(std::string_view command, std::function<void()> act) {
  const std::lock_guard lock(_mutex);
  _acts.insert_or_assign(std::string(command), std::move(act));
}

std::vector<FakeHelper::Call> FakeHelper::calls() const {
  const std::lock_guard lock(_mutex);
  return _calls;
}

std::vector<std::string> FakeHelper::commands() const {
  std::vector<std::string> names;
  for (const Call& call : calls()) names.push_back(call.command);
  return names;
}

std::size_t FakeHelper::count(std::string_view command) const {
  const std::vector<std::string> names = commands();
  return static_cast<std::size_t>(std::count(names.begin(), names.end(), command));
}

FakeHelper::Call FakeHelper::lastCall(std::string_view command) const {
  const std::lock_guard lock(_mutex);
  const auto found =
      std::find_if(_calls.rbegin(), _calls.rend(), [command](const Call& call) { return call.command == command; });
  return found == _calls.rend() ? Call{} : *found;
}

void FakeHelper::forgetCalls() {
  const std::lock_guard lock(_mutex);
  _calls.clear();
}

Value FakeHelper::serve(Call call) {
  const std::string command = call.command;
  std::function<void()> act;
  {
    const std::lock_guard lock(_mutex);
    _calls.push_back(std::move(call));
    if (const auto found = _acts.find(command); found != _acts.end()) act = found->second;
  }
  // Outside the lock: it may call back.
  if (act) act();
  return takeAnswer(command);
}

Value FakeHelper::takeAnswer(std::string_view command) {
  const std::lock_guard lock(_mutex);
  if (const auto once = _answersOnce.find(command); once != _answersOnce.end() && !once->second.empty()) {
    Value result = std::move(once->second.front());
    once->second.pop_front();
    return result;
  }
  if (const auto standing = _answers.find(command); standing != _answers.end()) return standing->second;
  return command == "status" ? Value(Dictionary{}) : Value(0);
}

}  // namespace zpk
