#include "helper/archive/Qcow2Space.h"

#include <cassert>
#include <utility>

namespace zpk {
namespace {

// How many clusters for compressed ones are set aside at the end of the file at once.
constexpr std::uint64_t packedClusters = 64;

}  // namespace

bool Qcow2Space::use(std::uint64_t hostCluster, std::uint64_t count) {
  assert(!_allocates);
  if (hostCluster > _counts.size() || count > _counts.size() - hostCluster) return false;
  for (std::uint64_t i = 0; i < count; ++i) {
    if (_counts[hostCluster + i] == UINT16_MAX) return false;
    ++_counts[hostCluster + i];
  }
  return true;
}

void Qcow2Space::release(std::uint64_t hostCluster, std::uint64_t count) {
  beginAllocation();
  for (std::uint64_t i = 0; i < count && hostCluster + i < _counts.size(); ++i) {
    if (_counts[hostCluster + i] > 0) --_counts[hostCluster + i];
  }
}

void Qcow2Space::beginAllocation() {
  if (_allocates) return;
  _allocates = true;
  _free = unusedRuns();
}

std::vector<Qcow2Space::Run> Qcow2Space::unusedRuns() const {
  std::vector<Run> runs;
  for (std::uint64_t i = 0; i < _counts.size(); ++i) {
    if (_counts[i] != 0) continue;
    if (!runs.empty() && runs.back().first + runs.back().count == i) {
      ++runs.back().count;
    } else {
      runs.push_back({i, 1});
    }
  }
  return runs;
}

std::uint64_t Qcow2Space::usedEnd() const {
  std::uint64_t end = _counts.size();
  while (end > 0 && _counts[end - 1] == 0) --end;
  return end;
}

std::uint64_t Qcow2Space::grow(std::uint64_t count) {
  const std::uint64_t first = _counts.size();
  _counts.resize(first + count);
  return first;
}

std::uint64_t Qcow2Space::take(std::uint64_t count) {
  beginAllocation();
  std::uint64_t first = 0;
  for (std::size_t i = _nextFree; i < _free.size() && first == 0; ++i) {
    if (_free[i].count < count) continue;
    first = _free[i].first;
    _free[i].first += count;
    _free[i].count -= count;
  }
  while (_nextFree < _free.size() && _free[_nextFree].count == 0) ++_nextFree;
  if (first == 0) first = grow(count);
  for (std::uint64_t i = 0; i < count; ++i) _counts[first + i] = 1;
  return first;
}

Qcow2Space::Run Qcow2Space::takeRun() {
  while (_nextFree < _free.size()) {
    const Run run = std::exchange(_free[_nextFree++], {});
    if (run.count > 0) return run;
  }
  return {grow(packedClusters), packedClusters};
}

std::uint64_t Qcow2Space::takePacked(std::size_t bytes) {
  assert(bytes > 0 && bytes < _clusterSize);
  beginAllocation();
  if (bytes > _packedEnd - _packedPlace) {
    const Run run = takeRun();
    // Where the new room goes on from the old one, a frame may lie across.
    if (run.first * _clusterSize != _packedEnd) _packedPlace = run.first * _clusterSize;
    _packedEnd = (run.first + run.count) * _clusterSize;
  }
  const std::uint64_t place = _packedPlace;
  _packedPlace += bytes;
  for (std::uint64_t i = place / _clusterSize; i <= (_packedPlace - 1) / _clusterSize; ++i) ++_counts[i];
  return place;
}

void Qcow2Space::endPacking() {
  const std::uint64_t first = divideUp(_packedPlace, _clusterSize);
  const std::uint64_t count = _packedEnd / _clusterSize - first;
  if (count > 0) _free.push_back({first, count});
  _packedPlace = _packedEnd = 0;
}

}  // namespace zpk
