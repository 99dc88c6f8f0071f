#pragma once

#include <cstddef>

#include "platform/linux/wire/WireForm.h"

namespace zpk {

// Counts what a value takes in a message's body, alignment included, and how deep it stands. Appending and reading
// move the same meter the same way, so that what one side may send the other takes.
class WireMeter {
 public:
  void boolean() { place(4, 4); }
  void eightBytes() { place(8, 8); }
  void text(std::size_t length) { place(4, 4 + length + 1); }
  void bytes(std::size_t length) { place(4, 4 + length); }
  void variant(std::size_t signatureLength) { place(1, 1 + signatureLength + 1); }
  void array(std::size_t elementAlignment) {
    place(4, 4);
    place(elementAlignment, 0);
  }
  void structure() { place(8, 0); }

  bool isTooLarge() const { return _position > kMaxWireBytes; }

  void enterLevel() { ++_depth; }
  void leaveLevel() { --_depth; }
  bool isTooDeep() const { return _depth > kMaxWireDepth; }

 private:
  void place(std::size_t alignment, std::size_t size) {
    _position = (_position + alignment - 1) / alignment * alignment + size;
  }

  std::size_t _position = 0;
  int _depth = 0;
};

}  // namespace zpk
