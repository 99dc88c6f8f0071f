#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "helper/service/model/Authority.h"
#include "helper/service/model/LoopClock.h"

namespace zpk {

// Why somebody may not do what he asked for.
enum class Refusal {
  notAllowed,
  needsPerson,    // A password is needed, and the caller did not want anybody to be asked.
  noAnswer,       // Nobody decided in time, or not in a way that could be understood.
  noAuthority,    // There is nobody to decide; then only root may do things.
  tooManyAtOnce,  // Too many questions of his wait already.
};

// Has the authority decide about calls, without holding up anything else.
//
// Root is not asked about: it could do it all by itself, also where no authority runs. A question ends with its
// caller, and when nobody has decided after `kPatience`: that leaves a front end, which waits for a minute, time to
// hear of it. The loop's thread.
class CallerRights {
 public:
  static constexpr Seconds kPatience{50};
  // How often a front end that waits is shown that it was not forgotten; it gives up hope after three seconds.
  static constexpr Seconds kReminder{1};
  static constexpr std::size_t kMostOfOneUser = 4;
  static constexpr std::size_t kMost = 16;

  struct Hooks {
    // Calls `gone` when the peer leaves the bus; the token ends the watch.
    std::function<Token(const std::string& peer, std::function<void()> gone)> watchPeer;
    // The peer's call waits for a person.
    std::function<void(const std::string& peer)> stillWaiting;
  };

  CallerRights(Authority& authority, LoopClock& clock, Hooks hooks)
      : _authority(authority), _clock(clock), _hooks(std::move(hooks)) {}
  CallerRights(const CallerRights&) = delete;
  CallerRights& operator=(const CallerRights&) = delete;

  // Calls `decided` once, with nothing when the caller may: at once when that needs no authority, never when the
  // caller goes before.
  using Decided = std::function<void(std::optional<Refusal>)>;
  void decide(const AuthorityQuestion& question, std::uint32_t user, Decided decided);

  std::size_t waiting() const { return _questions.size(); }

 private:
  struct Question {
    std::uint32_t user = 0;
    std::string peer;
    Decided decided;
    Token watch;
    Token end;
    Token reminder;
    Token asked;
  };

  void settle(std::uint64_t id, std::optional<Refusal> refusal);
  void remind(std::uint64_t id);

  Authority& _authority;
  LoopClock& _clock;
  const Hooks _hooks;
  std::map<std::uint64_t, Question> _questions;
  std::uint64_t _lastId = 0;
};

}  // namespace zpk
