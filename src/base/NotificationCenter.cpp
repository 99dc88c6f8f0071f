#include "base/NotificationCenter.h"

namespace zpk {

NotificationCenter::NotificationCenter() = default;
NotificationCenter::~NotificationCenter() = default;

Token NotificationCenter::addObserver(std::string_view name, Handler handler) {
  return _names.observe(name, std::move(handler));
}

void NotificationCenter::postNotificationName(std::string_view name) {
  _names.didChangeValueForKey(name);
}

}  // namespace zpk
