#include "base/Observable.h"

#include <algorithm>

namespace zpk {

struct Observable::State {
  struct Observation {
    std::string key;
    Callback callback;
  };
  // By order of registration. Held by pointer, so that one that ends while it is being called stays whole until
  // then.
  std::map<std::uint64_t, std::shared_ptr<Observation>> observations;
  std::uint64_t nextId = 0;
};

Observable::Observable() : _state(std::make_shared<State>()) {}

// Ends all observations, so that an observer may let go of the last owner: the walk that called it finds no more.
Observable::~Observable() {
  const auto ended = std::exchange(_state->observations, {});
}

Token Observable::observe(std::string_view key, Callback callback) {
  const std::uint64_t id = _state->nextId++;
  _state->observations.emplace(
      id, std::make_shared<State::Observation>(State::Observation{std::string(key), std::move(callback)}));
  return Token([state = std::weak_ptr(_state), id] {
    // Taken out before it is destroyed: what its callback holds may end further observations.
    if (const auto alive = state.lock()) const auto ended = alive->observations.extract(id);
  });
}

void Observable::willChangeValueForKey(std::string_view /*key*/) {
  // Observers here want to know that a value has changed, never what it was; the call stands for the pairing.
}

void Observable::didChangeValueForKey(std::string_view key) {
  // An observer may add and end observations, so the walk goes by id and holds what it calls.
  const std::shared_ptr<State> state = _state;
  const std::uint64_t end = state->nextId;
  for (auto next = state->observations.begin(); next != state->observations.end() && next->first < end;) {
    const std::uint64_t id = next->first;
    const std::shared_ptr<State::Observation> observation = next->second;
    if (isAffected(observation->key, key)) observation->callback();
    next = state->observations.upper_bound(id);
  }
}

// Follows the dependencies from the observed key down; keys that depend on each other are visited once.
bool Observable::isAffected(std::string_view observedKey, std::string_view changedKey) const {
  std::vector<std::string_view> reached = {observedKey};
  for (std::size_t i = 0; i < reached.size(); ++i) {
    if (reached[i] == changedKey) return true;
    for (const std::string_view key : keyPathsForValuesAffectingValueForKey(reached[i])) {
      if (std::find(reached.begin(), reached.end(), key) == reached.end()) reached.push_back(key);
    }
  }
  return false;
}

std::vector<std::string_view> Observable::keyPathsForValuesAffectingValueForKey(std::string_view /*key*/) const {
  return {};
}

}  // namespace zpk
