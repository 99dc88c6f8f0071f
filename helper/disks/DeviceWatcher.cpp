#include "helper/disks/DeviceWatcher.h"

#include <linux/netlink.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace zpk {
namespace {

// The kernel's own messages; the other group has what the device manager makes of them.
constexpr unsigned kernelGroup = 1;
// Of no interest and never at rest: memory, and drives that are asked all the time whether a medium is in them.
constexpr std::array<std::string_view, 4> otherDevices{"ram", "zram", "sr", "fd"};

FileDescriptor listen() {
  FileDescriptor socket(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_KOBJECT_UEVENT));
  sockaddr_nl address = {};
  address.nl_family = AF_NETLINK;
  address.nl_groups = kernelGroup;
  if (!socket || ::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return {};
  return socket;
}

struct Message {
  ssize_t size;  // Negative as `errno` has it.
  bool isKernels;
};

Message receive(int socket, std::array<char, 8192>& buffer) {
  sockaddr_nl sender = {};
  iovec place{buffer.data(), buffer.size()};
  msghdr header = {};
  header.msg_name = &sender;
  header.msg_namelen = sizeof sender;
  header.msg_iov = &place;
  header.msg_iovlen = 1;
  const ssize_t size = uninterrupted([&] { return ::recvmsg(socket, &header, 0); });
  return {size, sender.nl_pid == 0 && (header.msg_flags & MSG_TRUNC) == 0};
}

}  // namespace

DeviceWatcher::DeviceWatcher() : _fd(listen()) {}

bool DeviceWatcher::drain() {
  bool result = false;
  std::array<char, 8192> buffer;
  while (_fd) {
    const Message message = receive(_fd.get(), buffer);
    if (message.size >= 0) {
      const std::string_view text(buffer.data(), static_cast<std::size_t>(message.size));
      result = result || (message.isKernels && tellsOfDisk(text));
    } else if (errno == ENOBUFS) {
      result = true;  // More was told than was listened to.
    } else {
      break;
    }
  }
  return result;
}

bool tellsOfDisk(std::string_view message) {
  bool isBlock = false;
  std::string_view name;
  while (!message.empty()) {
    const std::string_view line = message.substr(0, message.find('\0'));
    message.remove_prefix(std::min(line.size() + 1, message.size()));
    isBlock = isBlock || line == "SUBSYSTEM=block";
    if (line.starts_with("DEVNAME=")) name = line.substr(line.find('=') + 1);
  }
  return isBlock && std::none_of(otherDevices.begin(), otherDevices.end(),
                                 [name](std::string_view kind) { return name.starts_with(kind); });
}

}  // namespace zpk
