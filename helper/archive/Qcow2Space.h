#pragma once

#include <cstdint>
#include <vector>

#include "helper/archive/Bytes.h"

namespace zpk {

// The host clusters of an image that is there already: how often each is referred to, and which can be given out to
// something new without touching anything that the image refers to now.
//
// First everything in use is told with `use`; the first allocation ends that. What is released is not given out
// again: until the image is switched over, the old content still needs it. Two bytes of memory for each cluster.
class Qcow2Space {
 public:
  // Neighbouring clusters.
  struct Run {
    std::uint64_t first = 0;
    std::uint64_t count = 0;
  };

  Qcow2Space(std::uint64_t clusterSize, std::uint64_t fileSize)
      : _clusterSize(clusterSize), _counts(divideUp(fileSize, clusterSize)) {}

  // One more reference to each of `count` clusters; false when they do not all lie in the file.
  bool use(std::uint64_t hostCluster, std::uint64_t count = 1);
  void release(std::uint64_t hostCluster, std::uint64_t count = 1);

  // `count` neighbouring clusters, each with one reference; gives the first.
  std::uint64_t take(std::uint64_t count = 1);
  // Room for a compressed cluster, less than a cluster long: a place in bytes. Every cluster that it touches gets a
  // reference.
  std::uint64_t takePacked(std::size_t bytes);
  // What is left of the clusters for compressed ones can be had by others again.
  void endPacking();

  // Clusters of the file, those given out behind its end included.
  std::uint64_t clusters() const { return _counts.size(); }
  std::uint64_t countOf(std::uint64_t hostCluster) const { return _counts[hostCluster]; }
  // Behind the last cluster with a reference.
  std::uint64_t usedEnd() const;
  // The longest runs of clusters without a reference, in ascending order.
  std::vector<Run> unusedRuns() const;

 private:
  void beginAllocation();
  Run takeRun();  // The next free run, or new clusters at the end of the file.
  std::uint64_t grow(std::uint64_t count);

  std::uint64_t _clusterSize;
  std::vector<std::uint16_t> _counts;
  bool _allocates = false;
  std::vector<Run> _free;  // From _nextFree on; an empty one was used up.
  std::size_t _nextFree = 0;
  std::uint64_t _packedPlace = 0;  // Bytes.
  std::uint64_t _packedEnd = 0;
};

}  // namespace zpk
