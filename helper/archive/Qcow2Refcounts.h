#pragma once

#include <cstdint>
#include <deque>
#include <vector>

#include "helper/archive/Bytes.h"

namespace zpk {

// How many references each host cluster of a growing image has: 16-bit counts in blocks of one cluster each.
//
// Only the blocks that may still change are held; a block below all places still written to is taken out, stored by
// the caller, and its place told here for the refcount table. So memory does not grow with the image.
class Qcow2Refcounts {
 public:
  explicit Qcow2Refcounts(std::uint64_t clusterSize)
      : _clusterSize(clusterSize), _countsPerBlock(clusterSize / 2) {}

  void add(std::uint64_t hostCluster);
  // One reference for each of `count` clusters.
  void addRun(std::uint64_t hostCluster, std::uint64_t count);

  // Whether the oldest held block covers only clusters below `hostCluster`.
  bool oldestIsBelow(std::uint64_t hostCluster) const;
  // The oldest held block as stored; `place` is recorded for it.
  ByteBuffer takeOldest();
  void recordPlace(std::uint64_t place) { _places.push_back(place); }

  std::uint64_t countsPerBlock() const { return _countsPerBlock; }
  std::uint64_t storedBlocks() const { return _places.size(); }
  // Makes the held blocks reach up to `hostClusters` clusters in all.
  void extendTo(std::uint64_t hostClusters);
  std::uint64_t heldBlocks() const { return _blocks.size(); }
  const std::vector<std::uint64_t>& places() const { return _places; }

 private:
  std::uint64_t _clusterSize;
  std::uint64_t _countsPerBlock;
  std::uint64_t _firstHeld = 0;
  std::deque<std::vector<std::uint16_t>> _blocks;
  std::vector<std::uint64_t> _places;
};

}  // namespace zpk
