#pragma once

#include <functional>
#include <memory>
#include <string_view>

#include "base/Observable.h"

namespace zpk {

inline constexpr std::string_view kApplicationDidFinishLaunchingNotification = "ApplicationDidFinishLaunching";

// Posts named notifications to whoever registered for the name. One thread. A notification carries nothing but its
// name: all of this program's are sent with no sender and no user information.
class NotificationCenter {
 public:
  using Handler = std::function<void()>;

  NotificationCenter();
  ~NotificationCenter();

  // Calls `handler` for every posting of `name` until the token ends.
  Token addObserver(std::string_view name, Handler handler);
  // Calls the handlers registered now, in the order of registration, before it returns.
  void postNotificationName(std::string_view name);

 private:
  Observable _names;
};

}  // namespace zpk
