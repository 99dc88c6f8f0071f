#include "tools/qrx-helper/DescriptorMessage.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <array>
#include <filesystem>

namespace zpk {
namespace {

auto openCount() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

class DescriptorMessages : public testing::Test {
 protected:
  std::pair<FileDescriptor, FileDescriptor> ends = *descriptorChannel(SOCK_SEQPACKET);
};

TEST_F(DescriptorMessages, ArriveOneByOneWithWhatIsInThem) {
  std::array<int, 2> pipe{};
  ASSERT_EQ(::pipe2(pipe.data(), O_CLOEXEC), 0);
  const FileDescriptor reading(pipe[0]);
  const FileDescriptor writing(pipe[1]);
  ASSERT_TRUE(sendMessage(ends.first, "first", {reading.get(), writing.get()}));
  ASSERT_TRUE(sendMessage(ends.first, "second"));

  const auto first = receiveMessage(ends.second);
  ASSERT_TRUE(first);
  EXPECT_EQ(first->text, "first");
  ASSERT_EQ(first->descriptors.size(), 2U);
  ASSERT_EQ(::write(first->descriptors[1].get(), "x", 1), 1);
  char read = 0;
  EXPECT_EQ(::read(reading.get(), &read, 1), 1);
  EXPECT_EQ(::fcntl(first->descriptors[0].get(), F_GETFD), FD_CLOEXEC);

  const auto second = receiveMessage(ends.second);
  ASSERT_TRUE(second);
  EXPECT_EQ(second->text, "second");
  EXPECT_TRUE(second->descriptors.empty());
}

TEST_F(DescriptorMessages, EndWithTheOtherSide) {
  ends.first.reset();
  EXPECT_FALSE(receiveMessage(ends.second));
  EXPECT_FALSE(sendMessage(ends.second, "to nobody"));
}

TEST_F(DescriptorMessages, OfTheLargestSizeAreWhole) {
  const std::string largest(DescriptorMessage::kLongestText, 'x');
  ASSERT_TRUE(sendMessage(ends.first, largest));
  EXPECT_EQ(receiveMessage(ends.second)->text, largest);
  EXPECT_FALSE(sendMessage(ends.first, largest + "y"));
  EXPECT_FALSE(sendMessage(ends.first, ""));
}

TEST_F(DescriptorMessages, OfOthersThatAreTooLargeAreNoneAndLeaveNothingOpen) {
  const std::string text(DescriptorMessage::kLongestText + 1, 'x');
  ASSERT_EQ(::send(ends.first.get(), text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
  EXPECT_FALSE(receiveMessage(ends.second));

  iovec piece{const_cast<char*>(text.data()), 1};
  constexpr std::size_t kBytes = 5 * sizeof(int);
  alignas(cmsghdr) std::array<char, CMSG_SPACE(kBytes)> space{};
  msghdr header = {};
  header.msg_iov = &piece;
  header.msg_iovlen = 1;
  header.msg_control = space.data();
  header.msg_controllen = space.size();
  cmsghdr* const part = CMSG_FIRSTHDR(&header);
  part->cmsg_level = SOL_SOCKET;
  part->cmsg_type = SCM_RIGHTS;
  part->cmsg_len = CMSG_LEN(kBytes);
  const std::array<int, 5> five{0, 0, 0, 0, 0};
  std::copy(five.begin(), five.end(), reinterpret_cast<int*>(CMSG_DATA(part)));
  const auto before = openCount();
  ASSERT_EQ(::sendmsg(ends.first.get(), &header, 0), 1);
  EXPECT_FALSE(receiveMessage(ends.second));
  EXPECT_EQ(openCount(), before);
}

}  // namespace
}  // namespace zpk
