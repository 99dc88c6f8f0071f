#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <span>

namespace zpk {

// Memory that reads and writes past the page cache accept: its start is aligned to 4 KiB. Its size is a multiple of
// that, and it starts with zeros.
class AlignedBuffer {
 public:
  static constexpr std::size_t alignment = 4096;

  AlignedBuffer() = default;
  explicit AlignedBuffer(std::size_t size)
      : _memory(static_cast<std::byte*>(std::aligned_alloc(alignment, size))), _size(size) {
    if (!_memory) throw std::bad_alloc();
    std::uninitialized_value_construct_n(_memory.get(), size);
  }

  bool empty() const { return _size == 0; }
  std::span<std::byte> bytes() { return {_memory.get(), _size}; }
  std::span<const std::byte> bytes() const { return {_memory.get(), _size}; }

 private:
  struct Free {
    void operator()(std::byte* memory) const { std::free(memory); }
  };

  std::unique_ptr<std::byte, Free> _memory;
  std::size_t _size = 0;
};

}  // namespace zpk
