#pragma once

#include <array>

#include "platform/linux/wire/DBusNames.h"

namespace zpk {

// What the helper serves at kHelperObjectPath beside the link's commands, for maintenance from a terminal. Held to
// packaging/dbus/com.tarnwick.zpkhelper.xml like the other tables.
inline constexpr const char* kMaintenanceInterface = "com.tarnwick.ZPKMaintenance";

// Rows of kMaintenanceMembers, in its order.
enum class MaintenanceMember : std::size_t { verify, lastVerification, pointHealth };

inline constexpr std::array<DBusMember, 3> kMaintenanceMembers = {{
    {"verify", "", "u"},
    {"lastVerification", "", "a{sv}"},
    {"pointHealth", "", "a{sv}"},
}};

constexpr const DBusMember& member(MaintenanceMember row) {
  return kMaintenanceMembers[static_cast<std::size_t>(row)];
}

}  // namespace zpk
