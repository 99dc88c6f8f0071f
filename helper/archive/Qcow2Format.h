#pragma once

#include <cstddef>
#include <cstdint>

namespace zpk::qcow2 {

// The image format, version 3, as far as the archive uses it. All integers are big-endian.
//
//   offset  size  header field
//   0       4     magic "QFI\xfb"
//   4       4     version: 3
//   8       8     place of the backing file's name, 0 for none
//   16      4     length of that name
//   20      4     cluster bits (14 or 16)
//   24      8     virtual size, bytes
//   32      4     encryption: 0
//   36      4     entries of the L1 table
//   40      8     place of the L1 table
//   48      8     place of the refcount table
//   56      4     clusters of the refcount table
//   60      12    snapshots: 0
//   72      8     incompatible features: bit 3, a compression type is given
//   80      16    compatible and autoclear features: 0
//   96      4     refcount order: 4 (16 bits)
//   100     4     header length: 112
//   104     1     compression type: 1 (zstd), then 7 bytes 0
//   112           header extensions, then the backing file's name
//
// An L1 entry is the place of an L2 table; an L2 entry describes one cluster: 0 is "not here" (zeros, or the
// backing file's content), bit 0 alone is "zeros", bit 62 a compressed cluster (low bits its place in bytes, then
// the count of further 512-byte sectors it reaches into), anything else the place of a plain cluster. Bit 63 says
// that the reference is the only one.
inline constexpr std::uint32_t magic = 0x514649FB;
inline constexpr std::uint32_t version = 3;
inline constexpr std::uint64_t compressionTypeFeature = std::uint64_t{1} << 3U;
inline constexpr std::uint8_t zstdCompression = 1;
inline constexpr std::uint32_t refcountOrder = 4;
inline constexpr std::uint32_t headerLength = 112;
inline constexpr std::uint32_t backingFormatExtension = 0xE2792ACA;

inline constexpr std::uint64_t onlyReference = std::uint64_t{1} << 63U;
inline constexpr std::uint64_t compressed = std::uint64_t{1} << 62U;
inline constexpr std::uint64_t readsAsZeros = 1;
inline constexpr std::uint64_t offsetMask = 0x00FFFFFFFFFFFE00U;
inline constexpr std::uint64_t sectorSize = 512;

// Number of the low bits of a compressed entry that hold the place.
constexpr unsigned compressedOffsetBits(unsigned clusterBits) {
  return 62U - (clusterBits - 8U);
}

// The largest tables that the field's tools open, bytes.
inline constexpr std::uint64_t largestFirstTable = std::uint64_t{32} << 20U;
inline constexpr std::uint64_t largestCountTable = std::uint64_t{8} << 20U;

inline constexpr unsigned smallClusterBits = 14;
inline constexpr unsigned largeClusterBits = 16;

// 16 KiB keeps increments small; from 1 TiB in use the tables would outweigh that.
constexpr unsigned clusterBitsForUsedBytes(std::uint64_t bytes) {
  return bytes < std::uint64_t{1} << 40U ? smallClusterBits : largeClusterBits;
}

}  // namespace zpk::qcow2
