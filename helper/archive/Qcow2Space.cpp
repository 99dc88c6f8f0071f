#include "helper/archive/Qcow2Space.h"

#include <algorithm>
#include <bit>
#include <cassert>

#include "helper/archive/BitWords.h"

namespace zpk {
namespace {

// How many clusters for compressed ones are set aside at once.
constexpr std::uint64_t packedClusters = 64;

}  // namespace

bool Qcow2Space::use(std::uint64_t hostCluster, std::uint64_t count) {
  if (hostCluster > _clusters || count > _clusters - hostCluster) return false;
  mark({hostCluster, count});
  return true;
}

void Qcow2Space::mark(const Run& run) {
  for (std::uint64_t i = run.first; i < run.first + run.count; ++i) setBit(_used, i);
}

std::optional<Qcow2Space::Run> Qcow2Space::nextUnused(std::uint64_t from, std::uint64_t atMost) const {
  const std::uint64_t first = nextBit(_used, from, _clusters, false);
  if (first >= _clusters) return std::nullopt;
  const std::uint64_t end = first + std::min(_clusters - first, atMost);
  return Run{first, nextBit(_used, first, end, true) - first};
}

std::uint64_t Qcow2Space::usedEnd() const {
  std::size_t words = _used.size();
  while (words > 0 && _used[words - 1] == 0) --words;
  if (words == 0) return 0;
  return words * bitsPerWord - static_cast<std::uint64_t>(std::countl_zero(_used[words - 1]));
}

std::uint64_t Qcow2Space::grow(std::uint64_t count) {
  const std::uint64_t first = _clusters;
  _clusters += count;
  _used.resize(divideUp(_clusters, bitsPerWord));
  return first;
}

std::uint64_t Qcow2Space::take(std::uint64_t count) {
  std::optional<Run> run = nextUnused(_nextFree, count);
  _nextFree = run ? run->first : _clusters;
  while (run && run->count < count) run = nextUnused(run->first + run->count, count);
  const std::uint64_t first = run ? run->first : grow(count);
  mark({first, count});
  return first;
}

Qcow2Space::Run Qcow2Space::takeRun() {
  Run run = nextUnused(_nextFree, packedClusters).value_or(Run{_clusters, 0});
  if (run.count == 0) run = {grow(packedClusters), packedClusters};
  mark(run);
  _nextFree = run.first + run.count;
  return run;
}

std::uint64_t Qcow2Space::takePacked(std::size_t bytes) {
  assert(bytes > 0 && bytes < _clusterSize);
  if (bytes > _packedEnd - _packedPlace) {
    const Run run = takeRun();
    // Where the new room goes on from the old one, a frame may lie across.
    if (run.first * _clusterSize != _packedEnd) _packedPlace = run.first * _clusterSize;
    _packedEnd = (run.first + run.count) * _clusterSize;
  }
  const std::uint64_t place = _packedPlace;
  _packedPlace += bytes;
  return place;
}

void Qcow2Space::endPacking() {
  const std::uint64_t end = _packedEnd / _clusterSize;
  const std::uint64_t first = divideUp(_packedPlace, _clusterSize);
  for (std::uint64_t i = first; i < end; ++i) clearBit(_used, i);
  if (first < end) _nextFree = std::min(_nextFree, first);
  _packedPlace = _packedEnd = 0;
}

}  // namespace zpk
