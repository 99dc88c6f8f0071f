#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace zpk {

// The names under which the helper and the front end meet on the bus: the one source for both sides. What a bus
// tool shows of them, packaging/dbus/com.tarnwick.zpkhelper.xml, is held to these tables by a test.

// A port name of the link ("zpkhelper") becomes a bus name by this prefix.
inline constexpr std::string_view kBusNamePrefix = "com.tarnwick.";
inline constexpr const char* kHelperBusName = "com.tarnwick.zpkhelper";
inline constexpr const char* kHelperObjectPath = "/com/tarnwick/zpkhelper";
inline constexpr const char* kDaemonInterface = "com.tarnwick.ZPKDaemonProtocol";
inline constexpr const char* kDelegateInterface = "com.tarnwick.ZPKHelperDelegateProtocol";

// The receive ports of a front end are objects below this path, on its own connection.
inline constexpr const char* kReceivePortPathPrefix = "/com/tarnwick/zpk/port/";

// The signature of a status: keys to values in wire form.
inline constexpr const char* kStatusSignature = "a{sv}";

// One member of an interface, with the signatures of what goes in and what comes out ("" for nothing).
struct DBusMember {
  const char* name;
  const char* in;
  const char* out;
};

// Rows of kDaemonMembers, in its order.
enum class DaemonMember : std::size_t {
  status,
  setBackupSource,
  setTargetPath,
  backup,
  restore,
  checkInWithPort,
  breakProgress,
  collectLogsToPath,
  mergeArchiveWithParent,
  setMaxIncrementsCount,
  reload,
  setCheckFS,
  pin,
};

// What the helper serves at kHelperObjectPath.
inline constexpr std::array<DBusMember, 13> kDaemonMembers = {{
    {"status", "", "a{sv}"},
    {"setBackupSource", "s", "u"},
    {"setTargetPath", "s", "u"},
    {"backup", "", "u"},
    {"restore_toDisk_withNumber_withTargetSize", "tstt", "u"},
    {"checkInWithPort_lastStateTime", "ox", "u"},
    {"breakProgress", "", "u"},
    {"collectLogsToPath", "s", "u"},
    {"mergeArchiveWithParent", "t", "u"},
    {"setMaxIncrementsCount", "t", "u"},
    {"reload", "", "u"},
    {"setCheckFS", "b", "u"},
    {"pin_arcItem_withLabel", "bts", "u"},
}};

// Rows of kDelegateMembers, in its order.
enum class DelegateMember : std::size_t { stateChangedWithStatus, needReload };

// What a front end serves at each of its receive ports.
inline constexpr std::array<DBusMember, 2> kDelegateMembers = {{
    {"stateChangedWithStatus", "a{sv}", ""},
    {"needReload", "", "b"},
}};

constexpr const DBusMember& member(DaemonMember row) {
  return kDaemonMembers[static_cast<std::size_t>(row)];
}
constexpr const DBusMember& member(DelegateMember row) {
  return kDelegateMembers[static_cast<std::size_t>(row)];
}

}  // namespace zpk
