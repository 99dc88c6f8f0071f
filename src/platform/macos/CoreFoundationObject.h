#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace zpk {

// Owns one reference to a Core Foundation object, or none. For what a function with "Create" or "Copy" in its name
// gave; what one with "Get" gave is not the caller's and is never put into one of these.
template <class Reference>
class CoreFoundationObject {
 public:
  explicit CoreFoundationObject(Reference reference = nullptr) : _reference(reference) {}
  CoreFoundationObject(CoreFoundationObject&& other) noexcept : _reference(other.release()) {}
  CoreFoundationObject& operator=(CoreFoundationObject&& other) noexcept {
    std::swap(_reference, other._reference);
    return *this;
  }
  ~CoreFoundationObject() {
    if (_reference) CFRelease(_reference);
  }

  explicit operator bool() const { return _reference != nullptr; }
  Reference get() const { return _reference; }
  // For a function that takes the reference over.
  [[nodiscard]] Reference release() { return std::exchange(_reference, nullptr); }

 private:
  Reference _reference;
};

// Null when the text is not valid UTF-8.
CoreFoundationObject<CFStringRef> makeString(std::string_view text);
// In UTF-8; nothing when the string cannot be written so.
std::optional<std::string> textOf(CFStringRef string);

}  // namespace zpk
