#include "helper/archive/ChunkSet.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <utility>

#include "helper/archive/BitWords.h"

namespace zpk {
namespace {

// From here on, bits take less: 8 KiB and 128 bytes of ranks.
constexpr std::size_t mostParts = 1024;
constexpr std::uint64_t wordsPerRank = 16;

}  // namespace

void ChunkSet::Block::add(std::uint32_t first, std::uint32_t last) {
  if (_bits.empty()) {
    if (!_parts.empty() && first == _parts.back().last + 1U) {
      _parts.back().last = static_cast<std::uint16_t>(last);
    } else {
      _parts.push_back({static_cast<std::uint16_t>(first), static_cast<std::uint16_t>(last),
                        static_cast<std::uint16_t>(_count)});
    }
    _count += last - first + 1;
    if (_parts.size() > mostParts) useBits();
  } else {
    addBits(first, last);
  }
}

void ChunkSet::Block::useBits() {
  const std::vector<Part> parts = std::exchange(_parts, {});
  _bits.resize(blockSize / bitsPerWord);
  _ranks.reserve(blockSize / bitsPerWord / wordsPerRank);
  _count = 0;
  for (const Part& part : parts) addBits(part.first, part.last);
}

void ChunkSet::Block::addBits(std::uint32_t first, std::uint32_t last) {
  for (std::uint32_t place = first; place <= last; ++place) {
    while (_ranks.size() <= place / bitsPerWord / wordsPerRank) {
      _ranks.push_back(static_cast<std::uint16_t>(_count));
    }
    setBit(_bits, place);
    ++_count;
  }
}

const ChunkSet::Block::Part* ChunkSet::Block::partAtOrAfter(std::uint32_t place) const {
  const auto found = std::ranges::partition_point(_parts, [place](const Part& part) { return part.last < place; });
  return found == _parts.end() ? nullptr : &*found;
}

std::optional<std::uint64_t> ChunkSet::Block::rankOf(std::uint32_t place) const {
  if (_bits.empty()) {
    const Part* part = partAtOrAfter(place);
    if (part == nullptr || part->first > place) return std::nullopt;
    return std::uint64_t{part->before} + (place - part->first);
  }
  const std::uint64_t word = place / bitsPerWord;
  if ((_bits[word] >> place % bitsPerWord & 1U) == 0) return std::nullopt;
  std::uint64_t rank = _ranks[word / wordsPerRank];
  const auto add = [&rank](std::uint64_t bits) { rank += static_cast<std::uint64_t>(std::popcount(bits)); };
  for (std::uint64_t i = word / wordsPerRank * wordsPerRank; i < word; ++i) add(_bits[i]);
  add(_bits[word] & ((std::uint64_t{1} << place % bitsPerWord) - 1));
  return rank;
}

std::uint64_t ChunkSet::Block::next(std::uint32_t place) const {
  if (!_bits.empty()) return nextBit(_bits, place, blockSize, true);
  const Part* part = partAtOrAfter(place);
  return part == nullptr ? blockSize : std::max<std::uint64_t>(part->first, place);
}

std::uint64_t ChunkSet::Block::nextGap(std::uint32_t place) const {
  if (!_bits.empty()) return nextBit(_bits, place, blockSize, false);
  const Part* part = partAtOrAfter(place);
  return part == nullptr || part->first > place ? place : part->last + std::uint64_t{1};
}

void ChunkSet::add(std::uint64_t first, std::uint64_t count) {
  assert(count > 0 && first >= _end && count <= limit && first <= limit - count);
  if (first > _end || _count == 0) ++_stretches;
  _end = first + count;
  while (count > 0) {
    const std::uint64_t number = first / blockSize;
    const std::uint64_t place = first % blockSize;
    const std::uint64_t part = std::min(count, blockSize - place);
    if (_blocks.empty() || _blocks.back().number() != number) _blocks.emplace_back(number, _count);
    _blocks.back().add(static_cast<std::uint32_t>(place), static_cast<std::uint32_t>(place + part - 1));
    _count += part;
    first += part;
    count -= part;
  }
}

std::vector<ChunkSet::Block>::const_iterator ChunkSet::blockAtOrAfter(std::uint64_t number) const {
  return std::ranges::partition_point(_blocks, [number](const Block& block) { return block.number() < number; });
}

std::optional<std::uint64_t> ChunkSet::rankOf(std::uint64_t chunk) const {
  const auto block = blockAtOrAfter(chunk / blockSize);
  if (block == _blocks.end() || block->number() != chunk / blockSize) return std::nullopt;
  const std::optional<std::uint64_t> rank = block->rankOf(static_cast<std::uint32_t>(chunk % blockSize));
  return rank ? std::optional(block->before() + *rank) : std::nullopt;
}

std::optional<std::uint64_t> ChunkSet::next(std::uint64_t chunk) const {
  for (auto block = blockAtOrAfter(chunk / blockSize); block != _blocks.end(); ++block) {
    const std::uint64_t start = block->number() * blockSize;
    const std::uint64_t place = block->next(static_cast<std::uint32_t>(chunk > start ? chunk - start : 0));
    if (place < blockSize) return start + place;
  }
  return std::nullopt;
}

std::optional<ChunkSet::Stretch> ChunkSet::nextStretch(std::uint64_t chunk) const {
  const std::optional<std::uint64_t> first = next(chunk);
  if (!first) return std::nullopt;
  std::uint64_t end = *first;
  for (auto block = blockAtOrAfter(end / blockSize); block != _blocks.end(); ++block) {
    if (block->number() != end / blockSize) break;
    end = block->number() * blockSize + block->nextGap(static_cast<std::uint32_t>(end % blockSize));
    if (end % blockSize != 0) break;
  }
  return Stretch{*first, end - *first};
}

}  // namespace zpk
