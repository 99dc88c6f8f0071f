#include "helper/archive/NbdServer.h"

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace zpk {
namespace {

constexpr std::uint64_t greeting = 0x4e42444d41474943;  // "NBDMAGIC"
constexpr std::uint64_t optionMagic = 0x49484156454F5054;
constexpr std::uint64_t answerMagic = 0x0003e889045565a9;
constexpr std::uint32_t requestMagic = 0x25609513;
constexpr std::uint32_t replyMagic = 0x67446698;

constexpr std::uint16_t fixedNewstyle = 1;
constexpr std::uint16_t noZeros = 2;
constexpr std::uint16_t hasFlags = 1;
constexpr std::uint16_t takesFlush = 4;

constexpr std::uint32_t optionAbort = 2;
constexpr std::uint32_t optionGo = 7;
constexpr std::uint32_t answerDone = 1;
constexpr std::uint32_t answerInfo = 3;
constexpr std::uint32_t answerUnknown = 0x80000001;

constexpr std::uint16_t commandRead = 0;
constexpr std::uint16_t commandWrite = 1;
constexpr std::uint16_t commandEnd = 2;
constexpr std::uint16_t commandFlush = 3;

constexpr std::uint32_t errorInputOutput = 5;
constexpr std::uint32_t errorInvalid = 22;

constexpr std::uint32_t longestOption = 65536;
constexpr std::uint32_t longestRequest = std::uint32_t{32} << 20U;

// One conversation with one client. Every step gives false when the client has gone or talks nonsense.
class Conversation {
 public:
  Conversation(int socket, BlockView& view) : _socket(socket), _view(view) {}

  void hold() {
    if (!greet() || !agree()) return;
    while (serveOne()) {
    }
  }

 private:
  bool greet() {
    std::array<std::byte, 18> hello;
    putBigEndian(std::span<std::byte>(hello), 0, greeting);
    putBigEndian(std::span<std::byte>(hello), 8, optionMagic);
    putBigEndian(std::span<std::byte>(hello), 16, static_cast<std::uint16_t>(fixedNewstyle | noZeros));
    std::array<std::byte, 4> flags;
    return send(hello) && receive(flags);
  }

  // Until the client wants to go on with the export, whatever name it gives it.
  bool agree() {
    for (;;) {
      std::array<std::byte, 16> head;
      if (!receive(head) || bigEndianAt<std::uint64_t>(head, 0) != optionMagic) return false;
      const auto option = bigEndianAt<std::uint32_t>(head, 8);
      const auto length = bigEndianAt<std::uint32_t>(head, 12);
      if (length > longestOption) return false;
      _data.resize(length);
      if (!receive(_data)) return false;
      if (option == optionGo) return answer(option, answerInfo, exportInfo()) && answer(option, answerDone, {});
      if (!answer(option, option == optionAbort ? answerDone : answerUnknown, {}) || option == optionAbort) {
        return false;
      }
    }
  }

  std::array<std::byte, 12> exportInfo() const {
    std::array<std::byte, 12> info{};
    putBigEndian(std::span<std::byte>(info), 2, _view.size());
    putBigEndian(std::span<std::byte>(info), 10, static_cast<std::uint16_t>(hasFlags | takesFlush));
    return info;
  }

  bool answer(std::uint32_t option, std::uint32_t kind, ByteSpan data) const {
    std::array<std::byte, 20> head;
    putBigEndian(std::span<std::byte>(head), 0, answerMagic);
    putBigEndian(std::span<std::byte>(head), 8, option);
    putBigEndian(std::span<std::byte>(head), 12, kind);
    putBigEndian(std::span<std::byte>(head), 16, static_cast<std::uint32_t>(data.size()));
    return send(head) && send(data);
  }

  bool serveOne() {
    std::array<std::byte, 28> head;
    if (!receive(head) || bigEndianAt<std::uint32_t>(head, 0) != requestMagic) return false;
    const auto command = bigEndianAt<std::uint16_t>(head, 6);
    const auto offset = bigEndianAt<std::uint64_t>(head, 16);
    const auto length = bigEndianAt<std::uint32_t>(head, 24);
    const bool isTransfer = command == commandRead || command == commandWrite;
    if (command == commandEnd || (isTransfer && length > longestRequest)) return false;
    _data.resize(isTransfer ? length : 0);
    if (command == commandWrite && !receive(_data)) return false;
    const std::uint32_t error = carryOut(command, offset, length);
    return reply(ByteSpan(head).subspan(8, 8), error) && (command != commandRead || error != 0 || send(_data));
  }

  // What the client is told; 0 is success.
  std::uint32_t carryOut(std::uint16_t command, std::uint64_t offset, std::uint32_t length) {
    // Everything written is in the view; its owner makes it durable.
    if (command == commandFlush) return 0;
    const bool isInside = offset <= _view.size() && length <= _view.size() - offset;
    if (!isInside || (command != commandRead && command != commandWrite)) return errorInvalid;
    const bool isDone = command == commandRead ? _view.read(offset, _data) : _view.write(offset, _data);
    return isDone ? 0 : errorInputOutput;
  }

  bool reply(ByteSpan handle, std::uint32_t error) const {
    std::array<std::byte, 16> head;
    putBigEndian(std::span<std::byte>(head), 0, replyMagic);
    putBigEndian(std::span<std::byte>(head), 4, error);
    std::copy(handle.begin(), handle.end(), head.begin() + 8);
    return send(head);
  }

  bool receive(std::span<std::byte> bytes) const {
    while (!bytes.empty()) {
      const ssize_t count = ::recv(_socket, bytes.data(), bytes.size(), 0);
      if (count < 0 && errno == EINTR) continue;
      if (count <= 0) return false;
      bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return true;
  }

  bool send(ByteSpan bytes) const {
    while (!bytes.empty()) {
      const ssize_t count = ::send(_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
      if (count < 0 && errno == EINTR) continue;
      if (count <= 0) return false;
      bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return true;
  }

  const int _socket;
  BlockView& _view;
  ByteBuffer _data;
};

}  // namespace

NbdServer::NbdServer(FileDescriptor server, FileDescriptor client, BlockView& view)
    : _server(std::move(server)), _client(std::move(client)), _thread([socket = _server.get(), &view] {
        Conversation(socket, view).hold();
        // A client that waits for an answer that will not come is told.
        ::shutdown(socket, SHUT_RDWR);
      }) {}

NbdServer::~NbdServer() {
  if (!_thread.joinable()) return;
  ::shutdown(_server.get(), SHUT_RDWR);
  _thread.join();
}

Expected<NbdServer, int> NbdServer::start(BlockView& view) {
  int ends[2];
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return errno;
  FileDescriptor server(ends[0]);
  FileDescriptor client(ends[1]);
  try {
    return NbdServer(std::move(server), std::move(client), view);
  } catch (const std::system_error&) {
    return EAGAIN;
  }
}

}  // namespace zpk
