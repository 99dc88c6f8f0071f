#include "helper/service/model/CallerRights.h"

#include <algorithm>
#include <utility>

namespace zpk {
namespace {

constexpr std::uint32_t kRoot = 0;

std::optional<Refusal> refusalOf(Verdict verdict) {
  switch (verdict) {
    case Verdict::granted:
      return std::nullopt;
    case Verdict::needsPerson:
      return Refusal::needsPerson;
    case Verdict::noAuthority:
      return Refusal::noAuthority;
    case Verdict::notUnderstood:
      return Refusal::noAnswer;
    case Verdict::refused:
      break;
  }
  return Refusal::notAllowed;
}

}  // namespace

void CallerRights::decide(const AuthorityQuestion& question, std::uint32_t user, Decided decided) {
  if (user == kRoot) return decided(std::nullopt);
  const auto ofUser =
      std::ranges::count_if(_questions, [&](const auto& entry) { return entry.second.user == user; });
  if (_questions.size() >= kMost || static_cast<std::size_t>(ofUser) >= kMostOfOneUser) {
    return decided(Refusal::tooManyAtOnce);
  }
  const std::uint64_t id = ++_lastId;
  Question& waiting = _questions[id];
  waiting.user = user;
  waiting.peer = question.peer;
  waiting.decided = std::move(decided);
  waiting.watch = _hooks.watchPeer(question.peer, [this, id] { _questions.erase(id); });
  waiting.end = _clock.after(kPatience, [this, id] { settle(id, Refusal::noAnswer); });
  waiting.reminder = _clock.after(kReminder, [this, id] { remind(id); });
  waiting.asked = _authority.ask(question, [this, id](Verdict verdict) { settle(id, refusalOf(verdict)); });
}

void CallerRights::settle(std::uint64_t id, std::optional<Refusal> refusal) {
  const auto found = _questions.find(id);
  if (found == _questions.end()) return;
  // Out of the list first: what is done now may ask again.
  const Decided decided = std::move(found->second.decided);
  _questions.erase(found);
  decided(refusal);
}

void CallerRights::remind(std::uint64_t id) {
  const auto found = _questions.find(id);
  if (found == _questions.end()) return;
  found->second.reminder = _clock.after(kReminder, [this, id] { remind(id); });
  _hooks.stillWaiting(found->second.peer);
}

}  // namespace zpk
