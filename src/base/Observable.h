#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zpk {

// Keeps something (an observation, a registration, a timer) going for as long as it lives. Movable, not copyable;
// outliving what it belongs to is allowed and then ends nothing.
class [[nodiscard]] Token {
 public:
  Token() = default;
  explicit Token(std::function<void()> end) : _end(std::move(end)) {}
  Token(Token&& other) noexcept : _end(std::exchange(other._end, nullptr)) {}
  Token& operator=(Token&& other) noexcept {
    if (this != &other) {
      reset();
      _end = std::exchange(other._end, nullptr);
    }
    return *this;
  }
  ~Token() { reset(); }

  bool isActive() const { return _end != nullptr; }
  // Ends it now.
  void reset() {
    if (auto end = std::exchange(_end, nullptr)) end();
  }

 private:
  std::function<void()> _end;
};

// Key-value observation: base of every object with properties that controls are bound to.
//
//   class Clock : public Observable { … void setTime(t) { willChangeValueForKey("time"); …;
//   didChangeValueForKey("time"); } }; Token token = clock.observe("time", [&] { label.setText(clock.time()); });
//
// One thread (the main thread) uses an object and its observers. Observers are called in the order in which they
// were added, after the change, once for each didChange; they may add and end observations, also their own, may
// change further keys, and may destroy the object.
class Observable {
 public:
  using Callback = std::function<void()>;

  Observable();
  virtual ~Observable();
  Observable(const Observable&) = delete;
  Observable& operator=(const Observable&) = delete;

  // Calls `callback` after every announced change of `key`, or of a key that `key` depends on, directly or through
  // others, until the token ends.
  Token observe(std::string_view key, Callback callback);

  void willChangeValueForKey(std::string_view key);
  // Announces the change of `key` and of every key that depends on it, each once.
  void didChangeValueForKey(std::string_view key);

 protected:
  // The keys on which the computed property `key` depends, as the class states them once (its
  // `keyPathsForValuesAffecting…`). Called while a change is announced.
  virtual std::vector<std::string_view> keyPathsForValuesAffectingValueForKey(std::string_view key) const;

 private:
  struct State;
  bool isAffected(std::string_view observedKey, std::string_view changedKey) const;

  std::shared_ptr<State> _state;
};

}  // namespace zpk
