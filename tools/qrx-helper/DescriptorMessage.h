#pragma once

#include <sys/socket.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/posix/FileDescriptor.h"

namespace zpk {

// Messages between two processes of one user over a pair of sockets, with open files in them.

// The two ends, neither inherited by programs. `type` is SOCK_SEQPACKET where messages are to stay apart.
std::optional<std::pair<FileDescriptor, FileDescriptor>> descriptorChannel(int type);

struct DescriptorMessage {
  // The longest one that is sent or received.
  static constexpr std::size_t kLongestText = 4096;
  static constexpr std::size_t kMostDescriptors = 2;

  std::string text;
  std::vector<FileDescriptor> descriptors;
};

// Whether all of it was taken. The descriptors stay the caller's.
bool sendMessage(const FileDescriptor& channel, std::string_view text, const std::vector<int>& descriptors = {});
// Blocks. Nothing when the other side has hung up, and for a message that is larger than one may be.
std::optional<DescriptorMessage> receiveMessage(const FileDescriptor& channel);

}  // namespace zpk
