#include "helper/archive/ImageMerge.h"

namespace zpk {
namespace {

constexpr std::uint64_t reportEvery = std::uint64_t{256} << 10U;

}  // namespace

ArchiveResult<ImageMerge> ImageMerge::open(OpenFile parent, OpenFile child, OpenFile map) {
  const std::string childPath = child.path;
  const std::string mapPath = map.path;
  ArchiveResult<Qcow2Rewriter> rewriter = Qcow2Rewriter::open(std::move(parent));
  if (!rewriter) return rewriter.error();
  ArchiveResult<Qcow2Reader> reader = Qcow2Reader::open(std::move(child));
  if (!reader) return reader.error();
  ArchiveResult<ChunkMapReader> hashes = ChunkMapReader::open(std::move(map));
  if (!hashes) return hashes.error();
  if (reader->clusterSize() != rewriter->clusterSize() || reader->virtualSize() != rewriter->virtualSize()) {
    return damagedError("An image builds on one of another size", childPath);
  }
  if (hashes->chunkSize() != reader->clusterSize()) {
    return damagedError("The hash map does not belong to the image", mapPath);
  }
  ImageMerge merge(std::move(*rewriter), std::move(*reader), std::move(*hashes));
  merge._child.gatherReads();
  merge._childPath = childPath;
  merge._name = childPath.substr(childPath.rfind('/') + 1);
  const ArchiveResult<Done> counted = merge.countClusters();
  if (!counted) return counted.error();
  return merge;
}

ArchiveResult<std::uint64_t> ImageMerge::roomFor(const OpenFile& parent, const OpenFile& child) {
  const ArchiveResult<std::uint64_t> parentSize = sizeOf(parent);
  if (!parentSize) return parentSize;
  const ArchiveResult<std::uint64_t> childSize = sizeOf(child);
  if (!childSize) return childSize;
  // The child's tables count for those of the parent that are written anew, of which there are as many; first table
  // and reference counts take less than a thousandth.
  constexpr std::uint64_t some = std::uint64_t{1} << 20U;
  return *childSize + (*parentSize + *childSize) / 1000 + some;
}

ArchiveResult<Done> ImageMerge::countClusters() {
  for (std::uint64_t next = 0;;) {
    const ArchiveResult<std::optional<std::uint64_t>> present = _child.nextPresent(next);
    if (!present) return present.error();
    if (!*present) return Done{};
    _bytesToMove += _child.clusterSize();
    next = **present + 1;
  }
}

ArchiveResult<Done> ImageMerge::fold(const std::function<void(std::uint64_t done)>& report,
                                     const CancelFlag& cancel) {
  if (_isFolded) return Done{};
  ByteBuffer content(_child.clusterSize());
  std::uint64_t done = 0;
  for (std::uint64_t next = 0;;) {
    if (cancel.isRequested()) return cancelledError();
    const ArchiveResult<std::optional<std::uint64_t>> present = _child.nextPresent(next);
    if (!present) return present.error();
    if (!*present) break;
    ArchiveResult<Done> moved = moveCluster(**present, content);
    if (!moved) return moved;
    next = **present + 1;
    done += content.size();
    if (done % reportEvery == 0) report(done);
  }
  return _parent.prepare(cancel);
}

ArchiveResult<Done> ImageMerge::moveCluster(std::uint64_t cluster, std::span<std::byte> content) {
  const ArchiveResult<ClusterKind> kind = _child.read(cluster, content);
  if (!kind) return kind.error();
  const ArchiveResult<std::optional<ChunkHash>> hash = _map.hashOf(cluster);
  if (!hash) return hash.error();
  const bool isSound = *kind == ClusterKind::Zeros ? !*hash : *hash == hashOfChunk(content, _map.seed());
  if (!isSound) {
    return damagedError("What the backup point holds does not match its hash", _childPath,
                        cluster * _child.clusterSize());
  }
  switch (*kind) {
    case ClusterKind::Absent:
      break;
    case ClusterKind::Zeros:
      return _parent.putZeros(cluster);
    case ClusterKind::Plain:
      return _parent.putPlain(cluster, content);
    case ClusterKind::Compressed:
      // A frame that did not shrink is none of ours, but its content is right.
      return _child.frame().size() < content.size() ? _parent.putCompressed(cluster, _child.frame())
                                                    : _parent.putPlain(cluster, content);
  }
  return Done{};
}

ArchiveResult<Done> ImageMerge::switchOver() {
  return _isFolded ? _parent.confirmSwitch() : _parent.switchOver();
}

}  // namespace zpk
