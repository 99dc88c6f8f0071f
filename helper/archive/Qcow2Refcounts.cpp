#include "helper/archive/Qcow2Refcounts.h"

#include <cassert>

namespace zpk {

void Qcow2Refcounts::add(std::uint64_t hostCluster) {
  const std::uint64_t block = hostCluster / _countsPerBlock;
  assert(block >= _firstHeld);
  extendTo(hostCluster + 1);
  ++_blocks[block - _firstHeld][hostCluster % _countsPerBlock];
}

void Qcow2Refcounts::addRun(std::uint64_t hostCluster, std::uint64_t count) {
  for (std::uint64_t i = 0; i < count; ++i) add(hostCluster + i);
}

bool Qcow2Refcounts::oldestIsBelow(std::uint64_t hostCluster) const {
  return !_blocks.empty() && (_firstHeld + 1) * _countsPerBlock <= hostCluster;
}

ByteBuffer Qcow2Refcounts::takeOldest() {
  ByteBuffer bytes(_clusterSize);
  for (std::uint64_t i = 0; i < _countsPerBlock; ++i) putBigEndian(bytes, i * 2, _blocks.front()[i]);
  _blocks.pop_front();
  ++_firstHeld;
  return bytes;
}

void Qcow2Refcounts::extendTo(std::uint64_t hostClusters) {
  while ((_firstHeld + _blocks.size()) * _countsPerBlock < hostClusters) _blocks.emplace_back(_countsPerBlock);
}

}  // namespace zpk
