#pragma once

#include <cstdint>
#include <string>

#include "base/Expected.h"
#include "base/Value.h"

namespace zpk::ctl {

// What the helper offers beside the link's commands (packaging/dbus/com.tarnwick.zpkhelper.xml,
// com.tarnwick.ZPKMaintenance). What goes wrong is a sentence for a person.
class Maintenance {
 public:
  virtual ~Maintenance() = default;
  // Starts a check of all backup points; the result code. Waits while somebody is asked for a password.
  virtual Expected<std::uint32_t, std::string> verify() = 0;
  // What the last check found. Its keys are told in the description of the interface.
  virtual Expected<Dictionary, std::string> lastVerification() = 0;
  // How each backup point fared: its last check, and what it lacks. Keys as above.
  virtual Expected<Dictionary, std::string> pointHealth() = 0;
};

}  // namespace zpk::ctl
