#include "platform/linux/wire/DBusNames.h"

#include <gtest/gtest.h>

#include <span>
#include <string>
#include <vector>

#include "platform/linux/wire/MaintenanceNames.h"
#include "support/DescribedInterfaces.h"

namespace zpk::tests {
namespace {

void appendTable(std::vector<Described>& members, const char* interface, std::span<const DBusMember> table) {
  for (const DBusMember& row : table) members.push_back({interface, row.name, row.in, row.out});
}

TEST(DBusNames, TheTablesAreWhatTheIntrospectionFileSays) {
  std::vector<Described> tables;
  appendTable(tables, kDaemonInterface, kDaemonMembers);
  appendTable(tables, kMaintenanceInterface, kMaintenanceMembers);
  appendTable(tables, kDelegateInterface, kDelegateMembers);
  EXPECT_EQ(describedMembers(DBUS_DESCRIPTION), tables);
}

TEST(DBusNames, TheHelpersPortNameBecomesItsBusName) {
  EXPECT_EQ(std::string(kBusNamePrefix) + "zpkhelper", kHelperBusName);
}

TEST(DBusNames, ARowIsFoundByItsMember) {
  EXPECT_STREQ(member(DaemonMember::status).name, "status");
  EXPECT_STREQ(member(DaemonMember::restore).name, "restore_toDisk_withNumber_withTargetSize");
  EXPECT_STREQ(member(DaemonMember::pin).name, "pin_arcItem_withLabel");
  EXPECT_STREQ(member(DelegateMember::needReload).name, "needReload");
}

}  // namespace
}  // namespace zpk::tests
