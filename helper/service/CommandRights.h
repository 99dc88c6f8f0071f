#pragma once

#include <array>
#include <optional>
#include <string_view>

#include "platform/linux/wire/MaintenanceNames.h"

namespace zpk {

// What somebody must be allowed to do for a command. `everybody` is allowed to look; each of the others is an
// action of packaging/polkit/com.tarnwick.zpk.policy, which says who may do it and who has to give a password for
// it.
enum class Right { everybody, backUp, stop, verify, changeSettings, merge, restore };

struct RightRow {
  Right right;
  const char* action;  // Of polkit; empty for what everybody may do.
  const char* words;   // "You are not allowed to …".
};

inline constexpr std::array kRights{
    RightRow{Right::everybody, "", "look"},
    RightRow{Right::backUp, "com.tarnwick.zpk.back-up", "start a backup"},
    RightRow{Right::stop, "com.tarnwick.zpk.stop", "stop what is being done"},
    RightRow{Right::verify, "com.tarnwick.zpk.verify", "check the backups"},
    RightRow{Right::changeSettings, "com.tarnwick.zpk.change-settings", "change the backup settings"},
    RightRow{Right::merge, "com.tarnwick.zpk.merge", "merge backup points"},
    RightRow{Right::restore, "com.tarnwick.zpk.restore", "restore a backup"},
};

constexpr const RightRow& rowOf(Right right) {
  return kRights[static_cast<std::size_t>(right)];
}

// The one list of what each command asks for. A command that is not in it is refused to everybody; a test holds it
// to the description of the interfaces.
struct CommandRight {
  std::string_view interface;
  std::string_view member;
  Right right;
};

inline constexpr std::array kCommandRights{
    CommandRight{kDaemonInterface, "status", Right::everybody},
    CommandRight{kDaemonInterface, "setBackupSource", Right::changeSettings},
    CommandRight{kDaemonInterface, "setTargetPath", Right::changeSettings},
    CommandRight{kDaemonInterface, "backup", Right::backUp},
    CommandRight{kDaemonInterface, "restore_toDisk_withNumber_withTargetSize", Right::restore},
    // Subscribing shows what `status` shows.
    CommandRight{kDaemonInterface, "checkInWithPort_lastStateTime", Right::everybody},
    CommandRight{kDaemonInterface, "breakProgress", Right::stop},
    // Into a folder of the caller's own, which is checked to be that.
    CommandRight{kDaemonInterface, "collectLogsToPath", Right::everybody},
    CommandRight{kDaemonInterface, "mergeArchiveWithParent", Right::merge},
    CommandRight{kDaemonInterface, "setMaxIncrementsCount", Right::changeSettings},
    // Reads disks and archive again and changes nothing.
    CommandRight{kDaemonInterface, "reload", Right::everybody},
    CommandRight{kDaemonInterface, "setCheckFS", Right::changeSettings},
    CommandRight{kDaemonInterface, "pin_arcItem_withLabel", Right::changeSettings},
    CommandRight{kMaintenanceInterface, "verify", Right::verify},
    CommandRight{kMaintenanceInterface, "lastVerification", Right::everybody},
    CommandRight{kMaintenanceInterface, "pointHealth", Right::everybody},
};

// Nothing for a command that is not known: it is to be refused.
constexpr std::optional<Right> rightFor(std::string_view interface, std::string_view member) {
  for (const CommandRight& row : kCommandRights) {
    if (row.interface == interface && row.member == member) return row.right;
  }
  return std::nullopt;
}

}  // namespace zpk
