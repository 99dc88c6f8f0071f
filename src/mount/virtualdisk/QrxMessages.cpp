#include "mount/virtualdisk/QrxMessages.h"

#include <array>
#include <charconv>

namespace zpk {

void QrxMessages::error(std::string_view what, std::int32_t code, std::string_view codeText) {
  std::string text = " ";
  text.append(what).append(": ").append(hexText(static_cast<std::uint32_t>(code)));
  text.append(" ").append(codeText).append("\n");
  message(std::move(text));
}

void QrxMessages::pass(int level, std::string text) {
  if (!_callback) return;
  if (text.size() >= kBufferSize) text.resize(kBufferSize - 1);
  _callback(level, text.c_str());
}

std::string hexText(std::uint64_t number) {
  std::array<char, 16> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16).ptr;
  return "0x" + std::string(digits.data(), end);
}

}  // namespace zpk
