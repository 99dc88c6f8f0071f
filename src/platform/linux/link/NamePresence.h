#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "platform/linux/link/ObserverList.h"

namespace zpk {

// What is known of whether bus names are owned, and who wants to hear of changes. Main thread.
class NamePresence {
 public:
  Token observe(const std::string& busName, std::function<void(bool)> changed) {
    return _names[busName].observers.add(std::move(changed));
  }

  std::vector<std::string> names() const {
    std::vector<std::string> all;
    for (const auto& [name, entry] : _names) all.push_back(name);
    return all;
  }

  bool isWatched(const std::string& busName) const {
    const auto entry = _names.find(busName);
    return entry != _names.end() && entry->second.watched;
  }
  // The bus was asked to tell of changes, as long as the connection lasts.
  void setWatched(const std::string& busName) { _names[busName].watched = true; }
  void connectionLost() {
    for (auto& [name, entry] : _names) entry.watched = false;
  }

  bool isPresent(const std::string& busName) const {
    const auto entry = _names.find(busName);
    return entry != _names.end() && entry->second.present;
  }

  // Somebody found out for himself; the observers are not told.
  void note(const std::string& busName, bool present) { _names[busName].present = present; }

  void tell(const std::string& busName, bool present) const {
    const auto entry = _names.find(busName);
    if (entry == _names.end()) return;
    const auto observers = entry->second.observers;
    observers.notify(present);
  }

 private:
  struct Entry {
    bool present = false;
    bool watched = false;
    ObserverList<bool> observers;
  };
  std::map<std::string, Entry> _names;
};

}  // namespace zpk
