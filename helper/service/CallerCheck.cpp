#include "helper/service/CallerCheck.h"

#include <unistd.h>

namespace zpk {
namespace {

// Enough for every desktop; a peer that reconnects without end does not make it grow.
constexpr std::size_t kMostRemembered = 256;

}  // namespace

std::optional<uid_t> CallerCheck::admit(sd_bus_message* message) {
  const char* peer = sd_bus_message_get_sender(message);
  if (!peer) return std::nullopt;
  const std::optional<uid_t> user = userOf(peer);
  if (!user || (_rule == Rule::sameUser && *user != geteuid())) return std::nullopt;
  return user;
}

std::optional<uid_t> CallerCheck::userOf(const std::string& peer) {
  if (const auto known = _users.find(peer); known != _users.end()) return known->second;
  sd_bus_creds* creds = nullptr;
  if (sd_bus_get_name_creds(_bus, peer.c_str(), SD_BUS_CREDS_EUID, &creds) < 0) return std::nullopt;
  uid_t user = 0;
  const int found = sd_bus_creds_get_euid(creds, &user);
  sd_bus_creds_unref(creds);
  if (found < 0) return std::nullopt;
  if (_users.size() >= kMostRemembered) _users.clear();
  _users.emplace(peer, user);
  return user;
}

}  // namespace zpk
