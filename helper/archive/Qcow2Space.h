#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "helper/archive/Bytes.h"

namespace zpk {

// The host clusters of an image that is there already: which of them are referred to, and which can be given out to
// something new without touching anything that the image refers to now.
//
// First everything in use is told with `use`, then new places are taken. One bit of memory for each cluster: a file
// of 2 TB in clusters of 16 KiB takes 16 MB.
class Qcow2Space {
 public:
  // Neighbouring clusters.
  struct Run {
    std::uint64_t first = 0;
    std::uint64_t count = 0;
  };

  Qcow2Space(std::uint64_t clusterSize, std::uint64_t fileSize) : _clusterSize(clusterSize) {
    grow(divideUp(fileSize, clusterSize));
  }

  // `count` clusters are referred to; false when they do not all lie in the file.
  bool use(std::uint64_t hostCluster, std::uint64_t count = 1);

  // `count` neighbouring clusters that were free; gives the first.
  std::uint64_t take(std::uint64_t count = 1);
  // Room for a compressed cluster, less than a cluster long: a place in bytes.
  std::uint64_t takePacked(std::size_t bytes);
  // What is left of the clusters for compressed ones can be had by others again.
  void endPacking();

  // Clusters of the file, those given out behind its end included.
  std::uint64_t clusters() const { return _clusters; }
  // Behind the last cluster in use.
  std::uint64_t usedEnd() const;
  // The first run of unused clusters at or behind `from`. Of one that is longer than `atMost` the beginning, so
  // that the rest of a large hole need not be looked at by who takes a little of it.
  std::optional<Run> nextUnused(std::uint64_t from, std::uint64_t atMost = UINT64_MAX) const;

 private:
  void mark(const Run& run);
  Run takeRun();  // The next free run, or new clusters at the end of the file.
  std::uint64_t grow(std::uint64_t count);

  std::uint64_t _clusterSize;
  std::uint64_t _clusters = 0;
  std::vector<std::uint64_t> _used;  // One bit a cluster.
  std::uint64_t _nextFree = 0;       // Nothing in front of it is free.
  std::uint64_t _packedPlace = 0;    // Bytes.
  std::uint64_t _packedEnd = 0;
};

}  // namespace zpk
