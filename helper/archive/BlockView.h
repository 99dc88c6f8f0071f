#pragma once

#include <cstdint>
#include <span>

#include "helper/archive/Bytes.h"

namespace zpk {

// Something that reads and writes like a disk, for the tools that have to see one. Called on the server's thread,
// one call at a time, with places inside of its size.
class BlockView {
 public:
  virtual ~BlockView() = default;
  virtual std::uint64_t size() const = 0;
  // False is what the tools see as an input/output error.
  virtual bool read(std::uint64_t offset, std::span<std::byte> bytes) = 0;
  virtual bool write(std::uint64_t offset, ByteSpan bytes) = 0;
};

}  // namespace zpk
