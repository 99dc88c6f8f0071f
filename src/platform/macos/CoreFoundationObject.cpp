#include "platform/macos/CoreFoundationObject.h"

#include <cstddef>

namespace zpk {

CoreFoundationObject<CFStringRef> makeString(std::string_view text) {
  return CoreFoundationObject(
      CFStringCreateWithCString(kCFAllocatorDefault, std::string(text).c_str(), kCFStringEncodingUTF8));
}

std::optional<std::string> textOf(CFStringRef string) {
  const CFIndex size = CFStringGetMaximumSizeForEncoding(CFStringGetLength(string), kCFStringEncodingUTF8);
  if (size == kCFNotFound) return std::nullopt;
  std::string text(static_cast<std::size_t>(size) + 1, '\0');
  if (!CFStringGetCString(string, text.data(), size + 1, kCFStringEncodingUTF8)) return std::nullopt;
  text.resize(text.find('\0'));
  return text;
}

}  // namespace zpk
