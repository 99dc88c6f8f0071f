#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace zpk {

// Numbers of chunks, filled in ascending order, and the rank of each among them.
//
// Neighbours are one stretch and cost six bytes together; where stretches are many, one bit a chunk. So a set takes
// no more than 8.4 KiB for 65,536 chunks however they lie: 16 MB for a disk of 2 TB in chunks of 16 KiB.
class ChunkSet {
 public:
  // Above every number in it. No image has as many chunks: its first table would be larger than any tool opens.
  static constexpr std::uint64_t limit = std::uint64_t{1} << 35U;

  struct Stretch {
    std::uint64_t first = 0;
    std::uint64_t count = 0;
  };

  // Above all that is in it; up to `limit`.
  void add(std::uint64_t first, std::uint64_t count = 1);

  std::uint64_t count() const { return _count; }
  std::uint64_t stretches() const { return _stretches; }
  // Above its greatest number; 0 when it is empty.
  std::uint64_t end() const { return _end; }

  // How many lie below `chunk`; nothing when it is not one of them.
  std::optional<std::uint64_t> rankOf(std::uint64_t chunk) const;
  // The first one from `chunk` on.
  std::optional<std::uint64_t> next(std::uint64_t chunk) const;
  // The first one from `chunk` on with all its neighbours behind it.
  std::optional<Stretch> nextStretch(std::uint64_t chunk) const;

 private:
  static constexpr std::uint64_t blockSize = 65'536;

  // The members among `blockSize` neighbouring chunks. Places are counted within the block.
  class Block {
   public:
    Block(std::uint64_t number, std::uint64_t before) : _number(number), _before(before) {}
    std::uint64_t number() const { return _number; }
    std::uint64_t before() const { return _before; }  // Members of the blocks in front of it.

    void add(std::uint32_t first, std::uint32_t last);
    std::optional<std::uint64_t> rankOf(std::uint32_t place) const;
    // The first member from `place` on, or the first place that is none; `blockSize` without one.
    std::uint64_t next(std::uint32_t place) const;
    std::uint64_t nextGap(std::uint32_t place) const;

   private:
    struct Part {
      std::uint16_t first = 0;
      std::uint16_t last = 0;
      std::uint16_t before = 0;  // Members of the block in front of it.
    };
    void addBits(std::uint32_t first, std::uint32_t last);
    void useBits();
    const Part* partAtOrAfter(std::uint32_t place) const;

    std::uint64_t _number;
    std::uint64_t _before;
    std::uint32_t _count = 0;
    std::vector<Part> _parts;  // Until they are too many.
    std::vector<std::uint64_t> _bits;
    std::vector<std::uint16_t> _ranks;  // Of every 1,024th bit, as far as there are members.
  };

  std::vector<Block>::const_iterator blockAtOrAfter(std::uint64_t number) const;

  std::vector<Block> _blocks;  // Those with members.
  std::uint64_t _count = 0;
  std::uint64_t _stretches = 0;
  std::uint64_t _end = 0;
};

}  // namespace zpk
