#include "tools/qrx-helper/FuseMount.h"

#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>

#include <array>
#include <csignal>

#include "tools/qrx-helper/DescriptorMessage.h"

namespace zpk {
namespace {

constexpr const char* kMounter = "/usr/bin/fusermount3";
// Where fusermount3 is told that it finds its end of the channel. Its first free number.
constexpr int kChannelNumber = 3;
constexpr const char* kChannelVariable = "_FUSE_COMMFD=3";
constexpr int kMountMilliseconds = 10'000;

pid_t startMounter(const FileDescriptor& channel, const std::string& mountPoint, const std::string& device) {
  std::string options = "ro,nosuid,nodev,noexec,default_permissions,auto_unmount,subtype=ntfs,fsname=" + device;
  std::array<std::string, 5> words{kMounter, "-o", std::move(options), "--", mountPoint};
  std::array<char*, 6> arguments{};
  for (std::size_t i = 0; i < words.size(); ++i) arguments[i] = words[i].data();
  std::string variable = kChannelVariable;
  const std::array<char*, 2> environment{variable.data(), nullptr};

  posix_spawn_file_actions_t actions;
  if (::posix_spawn_file_actions_init(&actions) != 0) return -1;
  pid_t pid = -1;
  // A number that is the wanted one already stays open all the same.
  if (::posix_spawn_file_actions_adddup2(&actions, channel.get(), kChannelNumber) != 0 ||
      ::posix_spawn(&pid, kMounter, &actions, nullptr, arguments.data(), environment.data()) != 0)
    pid = -1;
  ::posix_spawn_file_actions_destroy(&actions);
  return pid;
}

}  // namespace

std::optional<FuseMount> mountFuse(const std::string& mountPoint, const std::string& device) {
  auto channel = descriptorChannel(SOCK_STREAM);
  if (!channel) return std::nullopt;
  FuseMount mount;
  mount.unmounter = startMounter(channel->second, mountPoint, device);
  channel->second.reset();
  if (mount.unmounter < 0) return std::nullopt;
  mount.lease = std::move(channel->first);
  pollfd answered{mount.lease.get(), POLLIN, 0};
  if (uninterrupted([&] { return ::poll(&answered, 1, kMountMilliseconds); }) > 0) {
    auto message = receiveMessage(mount.lease);
    if (message && message->descriptors.size() == 1) {
      mount.requests = std::move(message->descriptors.front());
      return mount;
    }
  }
  ::kill(mount.unmounter, SIGKILL);
  uninterrupted([&] { return ::waitpid(mount.unmounter, nullptr, 0); });
  return std::nullopt;
}

}  // namespace zpk
