#include "helper/archive/UnneededBits.h"

#include <gtest/gtest.h>
#include <zstd.h>

#include <algorithm>

#include "helper/archive/TestFiles.h"

namespace zpk::test {
namespace {

constexpr std::uint64_t clusterSize = 16384;
constexpr std::uint64_t offsetBits = 0x00FFFFFFFFFFFE00U;
constexpr std::uint64_t compressed = std::uint64_t{1} << 62U;
constexpr std::uint64_t onlyReference = std::uint64_t{1} << 63U;
constexpr std::uint64_t readsAsZeros = 1;
constexpr std::uint64_t compressedPlaceBits = (std::uint64_t{1} << 56U) - 1;  // With clusters of 16 KiB.

}  // namespace

UnneededBits::UnneededBits(const std::string& path) : _bytes(readAll(path)) {
  if (path.ends_with(".pvhd")) readImage();
  if (path.ends_with(".map")) readMap();
  if (path.ends_with(".json")) readIndex();
  _isLock = path.ends_with("/lock");
  EXPECT_TRUE(_isLock || !_needed.empty()) << path;
}

std::uint64_t UnneededBits::numberAt(std::uint64_t place, unsigned size) const {
  std::uint64_t number = 0;
  for (unsigned i = 0; i < size; ++i) number = number << 8U | static_cast<std::uint8_t>(_bytes.at(place + i));
  return number;
}

void UnneededBits::readImage() {
  const bool hasParent = numberAt(8, 8) != 0;
  need(0, 8);
  if (hasParent) need(8, 20);
  need(20, 36);
  need(40, 48);  // Up to the place of the reference counts.
  need(60, 64);  // No snapshots.
  need(36, 40);
  need(72, 112);  // Features, the kinds of counts and compression.
  if (hasParent) need(numberAt(8, 8), numberAt(8, 8) + numberAt(16, 4));  // The parent's name.
  const std::uint64_t tables = numberAt(40, 8);
  for (std::uint64_t i = 0; i < numberAt(36, 4); ++i) {
    const std::uint64_t entry = numberAt(tables + i * 8, 8);
    _entries.push_back({tables + i * 8, entry, true});
    if ((entry & offsetBits) != 0) readTable(entry & offsetBits);
  }
}

void UnneededBits::readTable(std::uint64_t place) {
  for (std::uint64_t at = place; at < place + clusterSize; at += 8) {
    const std::uint64_t entry = numberAt(at, 8);
    _entries.push_back({at, entry, false});
    if ((entry & compressed) != 0) {
      const std::uint64_t start = entry & compressedPlaceBits;
      _frames.push_back(
          {start, start + ZSTD_findFrameCompressedSize(_bytes.data() + start, _bytes.size() - start)});
    } else if ((entry & 1U) == 0 && (entry & offsetBits) != 0) {
      need(entry & offsetBits, (entry & offsetBits) + clusterSize);
    }
  }
}

// Without the name of the digest there is none to compare with, as after a change by hand.
void UnneededBits::readIndex() {
  const std::string name = "digest";
  const std::size_t place = _bytes.find('"' + name + '"') + 1;
  need(0, place);
  need(place + name.size(), _bytes.size());
}

// Little-endian; but for the number of runs nothing of it is looked at here.
void UnneededBits::readMap() {
  need(0, 56);
  need(4096, _bytes.size());
}

// How many sectors a compressed cluster reaches into at most; "zeros", where the parent has nothing either.
std::uint64_t UnneededBits::meaninglessBits(const Entry& entry) {
  if (entry.isOfFirstTable) return 0;
  if ((entry.value & compressed) != 0) return ~(compressed | onlyReference | compressedPlaceBits);
  return entry.value == 0 ? readsAsZeros : 0;
}

// Whether the frame unpacks to the same without the bit: not every bit of one has a meaning.
bool UnneededBits::isSpareIn(const ByteRange& frame, std::uint64_t bit) const {
  const auto unpacked = [](const std::string& packed) {
    std::string content(clusterSize, '\0');
    const std::size_t frameSize = ZSTD_findFrameCompressedSize(packed.data(), packed.size());
    if (ZSTD_isError(frameSize) != 0) return std::string();
    const std::size_t size = ZSTD_decompress(content.data(), content.size(), packed.data(), frameSize);
    return ZSTD_isError(size) != 0 ? std::string() : content.substr(0, size);
  };
  // A frame may be longer without the bit.
  std::string packed = _bytes.substr(frame.start, clusterSize);
  const std::string content = unpacked(packed);
  char& byte = packed.at(bit / 8 - frame.start);
  byte = static_cast<char>(static_cast<unsigned char>(byte) ^ 1U << bit % 8);
  return unpacked(packed) == content;
}

bool UnneededBits::contains(std::uint64_t bit) const {
  if (_isLock) return true;
  const std::uint64_t byte = bit / 8;
  const auto holds = [&](const ByteRange& range) { return byte >= range.start && byte < range.end; };
  if (const auto frame = std::ranges::find_if(_frames, holds); frame != _frames.end())
    return isSpareIn(*frame, bit);
  for (const Entry& entry : _entries) {
    if (byte < entry.place || byte >= entry.place + 8) continue;
    const std::uint64_t shift = (7 - (byte - entry.place)) * 8 + bit % 8;
    return (meaninglessBits(entry) >> shift & 1U) != 0;
  }
  return std::ranges::none_of(_needed, holds);
}

}  // namespace zpk::test
