#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "base/Observable.h"

namespace zpk {

// Callbacks that are called together, in the order in which they were added. They may add and end observations,
// also their own, while they are called. One thread.
template <class... Arguments>
class ObserverList {
 public:
  using Callback = std::function<void(Arguments...)>;

  Token add(Callback callback) {
    auto entry = std::make_shared<Callback>(std::move(callback));
    _entries->push_back(entry);
    return Token([entries = std::weak_ptr(_entries), entry] {
      if (const auto list = entries.lock()) std::erase(*list, entry);
    });
  }

  void notify(Arguments... arguments) const {
    const auto entries = _entries;
    const auto called = *entries;
    for (const auto& entry : called) {
      const bool stillThere = std::find(entries->begin(), entries->end(), entry) != entries->end();
      if (stillThere) (*entry)(arguments...);
    }
  }

 private:
  std::shared_ptr<std::vector<std::shared_ptr<Callback>>> _entries =
      std::make_shared<std::vector<std::shared_ptr<Callback>>>();
};

}  // namespace zpk
