#pragma once

#include <sys/types.h>
#include <systemd/sd-bus.h>

#include <map>
#include <optional>
#include <string>

namespace zpk {

// Who calls, and whether that is somebody the helper serves.
//
// On a session bus only the user whose helper it is; on the system bus, the bus's own policy has decided who can
// call at all. The user behind a connection is asked of the bus once: a unique name is never given to another.
class CallerCheck {
 public:
  enum class Rule { sameUser, busPolicy };

  CallerCheck(sd_bus* bus, Rule rule) : _bus(bus), _rule(rule) {}

  // The user who sent `message`; nothing when it is to be refused.
  std::optional<uid_t> admit(sd_bus_message* message);

 private:
  std::optional<uid_t> userOf(const std::string& peer);

  sd_bus* _bus;
  Rule _rule;
  std::map<std::string, uid_t> _users;
};

}  // namespace zpk
