#pragma once

#include <functional>
#include <string>

namespace zpk::test {

// What a process of its own sees: its own mounts, with which devices are opened to everybody or taken away, and
// perhaps a user without rights. Needs root.
class UserWorld {
 public:
  // The user "nobody", for whom FUSE works and loop devices do not.
  static UserWorld withoutRights() { return UserWorld{nobody}.withFuse(); }

  static constexpr unsigned nobody = 65534;
  explicit UserWorld(unsigned user) : _user(user) {}

  UserWorld withFuse() const;
  UserWorld withoutLoopDevices() const;
  // `path` shows what is at `other`.
  UserWorld with(const std::string& path, const std::string& other) const;

  // Does `work` in that world and gives what it gives; or how it ended, when it came to no end.
  std::string run(const std::function<std::string()>& work) const;

 private:
  unsigned _user;
  std::function<bool()> _prepare = [] { return true; };
};

// Whether a process that this one started was stopped by a signal.
bool isAnyChildStopped();

}  // namespace zpk::test
