#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

namespace zpk {

// What the client and the controller of virtual disks hand each other. The controller lives on the same machine, so
// numbers are in its byte order; offsets and sizes are the controller's and never change.

// "command" of a request.
inline constexpr std::uint32_t kQrxCommandAttach = 0;  // an existing image as a new drive
// The controller's other command. It wants to be told the image's format.
inline constexpr std::uint32_t kQrxCommandOther = 1;

// What the controller is asked for: the input structure of its method.
//
//   offset  width
//        0      4  command
//        4      4  imageFormat   a QrxImageFormat, or 0 for not given
//        8      4  flags         passed through
//       12      4  reserved, zero
//       16      4  uid           the calling user, filled in by qrxCreateDrive
//       20     12  reserved, zero
//       32   1024  imagePath     absolute, UTF-8, NUL-terminated
//
// `QrxDriveRequest request{};` is the zero-filled one that filling in begins with.
struct QrxDriveRequest {
  std::uint32_t command;
  std::uint32_t imageFormat;
  std::uint32_t flags;
  std::uint32_t reserved1;
  std::uint32_t uid;
  std::array<std::uint8_t, 12> reserved2;
  std::array<char, 1024> imagePath;
};

static_assert(std::is_trivially_copyable_v<QrxDriveRequest> && std::is_standard_layout_v<QrxDriveRequest>);
static_assert(offsetof(QrxDriveRequest, command) == 0);
static_assert(offsetof(QrxDriveRequest, imageFormat) == 4);
static_assert(offsetof(QrxDriveRequest, flags) == 8);
static_assert(offsetof(QrxDriveRequest, reserved1) == 12);
static_assert(offsetof(QrxDriveRequest, uid) == 16);
static_assert(offsetof(QrxDriveRequest, reserved2) == 20);
static_assert(offsetof(QrxDriveRequest, imagePath) == 32);
static_assert(sizeof(QrxDriveRequest) == 1056);

// What the controller tells of a drive that it made. Its meaning is between the controller and the caller.
struct QrxDriveResult {
  std::array<std::uint64_t, 11> words;
  friend bool operator==(const QrxDriveResult&, const QrxDriveResult&) = default;
};
static_assert(sizeof(QrxDriveResult) == 88);

// An error text, NUL-terminated.
using QrxErrorText = std::array<char, 512>;

// The memory that the controller fills in before it gives notice of completion.
struct QrxDriveReply {
  QrxErrorText errorMessage;
  QrxDriveResult result;
};
static_assert(std::is_trivially_copyable_v<QrxDriveReply> && std::is_standard_layout_v<QrxDriveReply>);
static_assert(offsetof(QrxDriveReply, errorMessage) == 0);
static_assert(offsetof(QrxDriveReply, result) == 512);
static_assert(sizeof(QrxDriveReply) == 600);

// Of a drive: the output structure of the controller's method.
using QrxDriveId = std::array<std::uint8_t, 16>;

// A path of more than 1,023 bytes is cut there.
void setImagePath(QrxDriveRequest& request, std::string_view path);

// The text up to its NUL, or all of the buffer when there is none. Valid as long as the buffer is.
std::string_view boundedText(const QrxErrorText& text);
std::string_view imagePathOf(const QrxDriveRequest& request);

}  // namespace zpk
