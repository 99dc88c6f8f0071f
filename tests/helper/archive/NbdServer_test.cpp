// The server as a client sees it that speaks its protocol, or does not. That qemu's programs understand each other
// with it shows every restore.

#include "helper/archive/NbdServer.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <string>

namespace zpk {
namespace {

// A kilobyte of memory, of which the last hundred bytes are broken.
class Memory final : public BlockView {
 public:
  std::uint64_t size() const override { return _bytes.size(); }
  bool read(std::uint64_t offset, std::span<std::byte> bytes) override {
    if (offset + bytes.size() > 924) return false;
    std::memcpy(bytes.data(), &_bytes[offset], bytes.size());
    return true;
  }
  bool write(std::uint64_t offset, ByteSpan bytes) override {
    if (offset + bytes.size() > 924) return false;
    std::memcpy(&_bytes[offset], bytes.data(), bytes.size());
    return true;
  }

 private:
  std::array<std::byte, 1024> _bytes{};
};

class NbdConversation : public testing::Test {
 protected:
  NbdConversation() {
    const timeval patience{10, 0};
    ::setsockopt(socket(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
  }

  int socket() const { return server->clientEnd(); }
  void send(const ByteBuffer& bytes) const {
    EXPECT_EQ(::send(socket(), bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
  }
  // Less when the server has hung up.
  ByteBuffer receive(std::size_t size) const {
    ByteBuffer bytes(size);
    const ssize_t count = ::recv(socket(), bytes.data(), size, MSG_WAITALL);
    bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return bytes;
  }
  void expectHungUp() const { EXPECT_EQ(::recv(socket(), std::array<char, 1>().data(), 1, 0), 0); }

  template <class... Numbers>
  static ByteBuffer joined(Numbers... numbers) {
    ByteBuffer bytes;
    const auto add = [&bytes](auto number) {
      bytes.resize(bytes.size() + sizeof number);
      putBigEndian(std::span<std::byte>(bytes), bytes.size() - sizeof number, number);
    };
    (add(numbers), ...);
    return bytes;
  }
  static ByteBuffer option(std::uint32_t number, std::uint32_t length = 0) {
    return joined(std::uint64_t{0x49484156454F5054}, number, length);
  }
  static ByteBuffer request(std::uint16_t command, std::uint64_t offset, std::uint32_t length) {
    return joined(std::uint32_t{0x25609513}, std::uint16_t{0}, command, std::uint64_t{77}, offset, length);
  }
  void greet() const {
    ASSERT_EQ(receive(18),
              joined(std::uint64_t{0x4e42444d41474943}, std::uint64_t{0x49484156454F5054}, std::uint16_t{3}));
    send(joined(std::uint32_t{3}));
  }
  void agree() const {
    greet();
    send(option(7, 6));
    send(ByteBuffer(6));
    const ByteBuffer info = receive(32);
    ASSERT_EQ(info.size(), 32U);
    EXPECT_EQ(bigEndianAt<std::uint64_t>(info, 22), 1024U) << "the size";
    ASSERT_EQ(receive(20).size(), 20U);
  }
  // The error that the server answers to a request.
  std::uint32_t answer() const {
    const ByteBuffer reply = receive(16);
    if (reply.size() != 16) return ~std::uint32_t{0};
    EXPECT_EQ(bigEndianAt<std::uint64_t>(reply, 8), 77U);
    return bigEndianAt<std::uint32_t>(reply, 4);
  }

  Memory memory;
  std::optional<NbdServer> server{std::move(*NbdServer::start(memory))};
};

TEST_F(NbdConversation, WhatIsWrittenIsReadAgain) {
  agree();
  send(request(1, 100, 4));
  send(joined(std::uint32_t{0xCAFEF00D}));
  EXPECT_EQ(answer(), 0U);
  send(request(3, 0, 0));
  EXPECT_EQ(answer(), 0U);
  send(request(0, 98, 8));
  EXPECT_EQ(answer(), 0U);
  EXPECT_EQ(receive(8), joined(std::uint64_t{0x0000CAFEF00D0000}));
  send(request(2, 0, 0));
  expectHungUp();
}

TEST_F(NbdConversation, WhatTheViewCannotDoIsAnErrorAndNotTheEnd) {
  agree();
  send(request(0, 1000, 8));
  EXPECT_EQ(answer(), 5U);
  send(request(0, 1020, 8));
  EXPECT_EQ(answer(), 22U) << "behind the end";
  send(request(0, UINT64_MAX - 1, 8));
  EXPECT_EQ(answer(), 22U);
  send(request(9, 0, 8));
  EXPECT_EQ(answer(), 22U) << "no such command";
  send(request(0, 0, 8));
  EXPECT_EQ(answer(), 0U);
}

TEST_F(NbdConversation, OptionsThatItDoesNotKnowAreRefusedOneByOne) {
  greet();
  send(option(8));
  const ByteBuffer refusal = receive(20);
  ASSERT_EQ(refusal.size(), 20U);
  EXPECT_EQ(bigEndianAt<std::uint32_t>(refusal, 12), 0x80000001U);
  send(option(2));
  EXPECT_EQ(receive(20).size(), 20U);
  expectHungUp();
}

TEST_F(NbdConversation, NonsenseEndsIt) {
  greet();
  send(ByteBuffer(16));
  expectHungUp();
}

TEST_F(NbdConversation, ALengthThatNobodyMeansEndsIt) {
  agree();
  send(request(1, 0, UINT32_MAX));
  expectHungUp();
}

TEST_F(NbdConversation, AnOptionThatIsTooLongEndsIt) {
  greet();
  send(option(7, UINT32_MAX));
  expectHungUp();
}

TEST_F(NbdConversation, EndsWithItsServerInTheMiddleOfARequest) {
  agree();
  send(joined(std::uint32_t{0x25609513}));
  server.reset();
}

}  // namespace
}  // namespace zpk
