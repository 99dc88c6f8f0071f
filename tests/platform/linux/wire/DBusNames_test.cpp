#include "platform/linux/wire/DBusNames.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <regex>
#include <span>
#include <string>
#include <vector>

namespace zpk::tests {
namespace {

struct Described {
  std::string interface;
  std::string member;
  std::string in;
  std::string out;
  friend bool operator==(const Described&, const Described&) = default;
};

void PrintTo(const Described& row, std::ostream* stream) {
  *stream << row.interface << "." << row.member << "(" << row.in << ") -> " << row.out;
}

// The methods of the introspection file, which has one tag a line.
std::vector<Described> describedMembers() {
  std::ifstream file(DBUS_DESCRIPTION);
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  const std::regex tag(
      R"re(<(interface|method) name="([^"]*)">|<arg [^>]*type="([^"]*)" direction="(in|out)"/>)re");
  std::vector<Described> members;
  std::string interface;
  for (std::sregex_iterator at(text.begin(), text.end(), tag), end; at != end; ++at) {
    const std::smatch& found = *at;
    if (found[1] == "interface") {
      interface = found[2];
    } else if (found[1] == "method") {
      members.push_back({interface, found[2], "", ""});
    } else if (!members.empty()) {
      (found[4] == "in" ? members.back().in : members.back().out) += found[3];
    }
  }
  return members;
}

void appendTable(std::vector<Described>& members, const char* interface, std::span<const DBusMember> table) {
  for (const DBusMember& row : table) members.push_back({interface, row.name, row.in, row.out});
}

TEST(DBusNames, TheTablesAreWhatTheIntrospectionFileSays) {
  std::vector<Described> tables;
  appendTable(tables, kDaemonInterface, kDaemonMembers);
  appendTable(tables, kDelegateInterface, kDelegateMembers);
  EXPECT_EQ(describedMembers(), tables);
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
