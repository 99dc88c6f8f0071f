#pragma once

#include <cstdint>
#include <memory>
#include <optional>

namespace zpk {

// While it lives, its thread opens, makes and removes files with the rights of a user, not with the process's own.
//
// For paths that a user has named to a helper that is root: the kernel itself then sees to it that they lead the
// helper nowhere that the user could not go, whatever is made of links and mounts under way. Files that are made
// belong to the user. What is open stays open, threads that are started meanwhile do as their maker does, and
// programs that are started run as root all the same. Begun and ended on one thread; they nest.
class ActingAs {
 public:
  // For nobody in particular, and for the user who the process is, it changes nothing. Nothing when the system does
  // not know the user, or the process may not act for others.
  static std::optional<ActingAs> user(std::optional<std::uint32_t> user);

  ActingAs(ActingAs&&) noexcept = default;
  ActingAs& operator=(ActingAs&&) = delete;
  ~ActingAs();

  struct Identity;

 private:
  explicit ActingAs(std::unique_ptr<const Identity> identity);

  std::unique_ptr<const Identity> _identity;  // None: it changes nothing.
  const Identity* _before = nullptr;
};

// Within an ActingAs, the process's own rights again: for disks, tools and what else is the helper's own business.
class ActingAsSelf {
 public:
  ActingAsSelf();
  ActingAsSelf(const ActingAsSelf&) = delete;
  ActingAsSelf& operator=(const ActingAsSelf&) = delete;
  ~ActingAsSelf();

 private:
  const ActingAs::Identity* _before;
};

}  // namespace zpk
