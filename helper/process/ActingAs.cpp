#include "helper/process/ActingAs.h"

#include <grp.h>
#include <pwd.h>
#include <sys/fsuid.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <utility>
#include <vector>

namespace zpk {

struct ActingAs::Identity {
  uid_t user = 0;
  gid_t group = 0;
  std::vector<gid_t> groups;
};

namespace {

// Whom this thread acts for; nobody for itself.
thread_local const ActingAs::Identity* current = nullptr;

std::unique_ptr<ActingAs::Identity> identityOf(uid_t user) {
  struct passwd entry = {};
  struct passwd* found = nullptr;
  std::array<char, 16384> text{};
  if (getpwuid_r(user, &entry, text.data(), text.size(), &found) != 0 || !found) return nullptr;
  auto identity = std::make_unique<ActingAs::Identity>();
  identity->user = user;
  identity->group = entry.pw_gid;
  int count = 64;
  identity->groups.resize(static_cast<std::size_t>(count));
  if (getgrouplist(entry.pw_name, entry.pw_gid, identity->groups.data(), &count) < 0) {
    identity->groups.resize(static_cast<std::size_t>(count));
    if (getgrouplist(entry.pw_name, entry.pw_gid, identity->groups.data(), &count) < 0) return nullptr;
  }
  identity->groups.resize(static_cast<std::size_t>(count));
  return identity;
}

const ActingAs::Identity& self() {
  static const ActingAs::Identity identity = [] {
    ActingAs::Identity own{geteuid(), getegid(), {}};
    const int count = getgroups(0, nullptr);
    own.groups.resize(static_cast<std::size_t>(count > 0 ? count : 0));
    if (count > 0) getgroups(count, own.groups.data());
    return own;
  }();
  return identity;
}

// The system call, since the C library's function changes the groups of all threads.
bool setGroups(const std::vector<gid_t>& groups) {
  return syscall(SYS_setgroups, groups.size(), groups.data()) == 0;
}

bool takeOn(const ActingAs::Identity& identity) {
  if (!setGroups(identity.groups)) return false;
  setfsgid(identity.group);
  setfsuid(identity.user);
  // They tell nothing of their success; asked for an impossible one, they tell the present one.
  const auto none = static_cast<uid_t>(-1);
  return static_cast<uid_t>(setfsuid(none)) == identity.user &&
         static_cast<gid_t>(setfsgid(none)) == identity.group;
}

void become(const ActingAs::Identity* identity) {
  // A thread that is not sure whose rights it has must not go on.
  if (identity != current && !takeOn(identity ? *identity : self())) std::abort();
  current = identity;
}

}  // namespace

std::optional<ActingAs> ActingAs::user(std::optional<std::uint32_t> user) {
  if (!user || *user == self().user) return ActingAs(nullptr);
  if (self().user != 0) return std::nullopt;
  auto identity = identityOf(*user);
  if (!identity) return std::nullopt;
  return ActingAs(std::move(identity));
}

ActingAs::ActingAs(std::unique_ptr<const Identity> identity) : _identity(std::move(identity)), _before(current) {
  if (_identity) become(_identity.get());
}

ActingAs::~ActingAs() {
  if (_identity) become(_before);
}

ActingAsSelf::ActingAsSelf() : _before(current) {
  become(nullptr);
}

ActingAsSelf::~ActingAsSelf() {
  become(_before);
}

}  // namespace zpk
