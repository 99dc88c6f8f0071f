#include "tools/qrx-helper/DescriptorMessage.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace zpk {
namespace {

constexpr std::size_t kDescriptorBytes = DescriptorMessage::kMostDescriptors * sizeof(int);

struct AncillarySpace {
  alignas(cmsghdr) std::array<char, CMSG_SPACE(kDescriptorBytes)> bytes{};
};

// All of them are owned before any is judged, so that none stays open by accident.
std::vector<FileDescriptor> descriptorsIn(msghdr& header) {
  std::vector<FileDescriptor> descriptors;
  for (const cmsghdr* part = CMSG_FIRSTHDR(&header); part;
       part = CMSG_NXTHDR(&header, const_cast<cmsghdr*>(part))) {
    if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS) continue;
    for (std::size_t at = CMSG_LEN(0); at + sizeof(int) <= part->cmsg_len; at += sizeof(int)) {
      int number = -1;
      std::memcpy(&number, reinterpret_cast<const char*>(part) + at, sizeof number);
      descriptors.emplace_back(number);
    }
  }
  return descriptors;
}

}  // namespace

std::optional<std::pair<FileDescriptor, FileDescriptor>> descriptorChannel(int type) {
  std::array<int, 2> ends{};
  if (::socketpair(AF_UNIX, type | SOCK_CLOEXEC, 0, ends.data()) != 0) return std::nullopt;
  return std::pair(FileDescriptor(ends[0]), FileDescriptor(ends[1]));
}

bool sendMessage(const FileDescriptor& channel, std::string_view text, const std::vector<int>& descriptors) {
  if (text.empty() || text.size() > DescriptorMessage::kLongestText ||
      descriptors.size() > DescriptorMessage::kMostDescriptors)
    return false;
  iovec piece{const_cast<char*>(text.data()), text.size()};
  AncillarySpace space;
  msghdr header = {};
  header.msg_iov = &piece;
  header.msg_iovlen = 1;
  if (!descriptors.empty()) {
    header.msg_control = space.bytes.data();
    header.msg_controllen = CMSG_SPACE(descriptors.size() * sizeof(int));
    cmsghdr* const part = CMSG_FIRSTHDR(&header);
    part->cmsg_level = SOL_SOCKET;
    part->cmsg_type = SCM_RIGHTS;
    part->cmsg_len = CMSG_LEN(descriptors.size() * sizeof(int));
    std::memcpy(CMSG_DATA(part), descriptors.data(), descriptors.size() * sizeof(int));
  }
  const ssize_t sent = uninterrupted([&] { return ::sendmsg(channel.get(), &header, MSG_NOSIGNAL); });
  return sent == static_cast<ssize_t>(text.size());
}

std::optional<DescriptorMessage> receiveMessage(const FileDescriptor& channel) {
  DescriptorMessage message;
  message.text.resize(DescriptorMessage::kLongestText);
  iovec piece{message.text.data(), message.text.size()};
  AncillarySpace space;
  msghdr header = {};
  header.msg_iov = &piece;
  header.msg_iovlen = 1;
  header.msg_control = space.bytes.data();
  header.msg_controllen = space.bytes.size();
  const ssize_t got = uninterrupted([&] { return ::recvmsg(channel.get(), &header, MSG_CMSG_CLOEXEC); });
  if (got <= 0) return std::nullopt;
  message.descriptors = descriptorsIn(header);
  if ((header.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) != 0) return std::nullopt;
  message.text.resize(static_cast<std::size_t>(got));
  return message;
}

}  // namespace zpk
