#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace zpk {

// Levels of what qrxCreateDrive has to say.
inline constexpr int kQrxLevelResult = 0;   // a device path and a line feed, "/dev/disk4s2\n"
inline constexpr int kQrxLevelMessage = 1;  // progress and errors; some are only the beginning of a line

// Is told everything, on the calling thread while the call runs. The text ends with a NUL and is valid meanwhile.
using QrxLogCallback = std::function<void(int level, const char* text)>;

// The mouth of a call: cuts each text to what the log's buffer holds, and passes it on when there is somebody to
// listen.
class QrxMessages {
 public:
  // With its NUL.
  static constexpr std::size_t kBufferSize = 512;

  // `callback`, which may be empty, outlives this object.
  explicit QrxMessages(const QrxLogCallback& callback) : _callback(callback) {}

  void message(std::string text) { pass(kQrxLevelMessage, std::move(text)); }
  void result(std::string text) { pass(kQrxLevelResult, std::move(text)); }
  // " Connection error: 0xe00002c1 (the code in words)\n"
  void error(std::string_view what, std::int32_t code, std::string_view codeText);

 private:
  void pass(int level, std::string text);

  const QrxLogCallback& _callback;
};

// "0xe00002c1", without leading zeros.
std::string hexText(std::uint64_t number);

}  // namespace zpk
