#include "helper/archive/SmallArchive.h"

#include <gtest/gtest.h>
#include <zstd.h>

#include <set>

#include "helper/archive/ChunkMap.h"
#include "helper/archive/Qcow2Writer.h"

namespace zpk::test {
namespace {

const CancelFlag never;

std::set<std::uint64_t> clustersOf(const DiskContent& a, const DiskContent& b) {
  std::set<std::uint64_t> clusters;
  for (const auto& [cluster, bytes] : a) clusters.insert(cluster);
  for (const auto& [cluster, bytes] : b) clusters.insert(cluster);
  return clusters;
}

ArchiveResult<Done> put(Qcow2Writer& image, std::uint64_t cluster, const ByteBuffer& bytes) {
  const ByteBuffer frame = frameOf(bytes);
  return frame.empty() ? image.addPlain(cluster, bytes) : image.addCompressed(cluster, frame);
}

}  // namespace

ByteBuffer wholeFrameOf(ByteSpan cluster) {
  ByteBuffer frame(ZSTD_compressBound(cluster.size()));
  frame.resize(ZSTD_compress(frame.data(), frame.size(), cluster.data(), cluster.size(), 1));
  return frame;
}

ByteBuffer frameOf(ByteSpan cluster) {
  ByteBuffer frame = wholeFrameOf(cluster);
  if (frame.size() > cluster.size() * 15 / 16) frame.clear();
  return frame;
}

SmallArchive::SmallArchive(const std::string& path, std::size_t points, std::size_t disks, unsigned seed)
    : _random(seed) {
  ArchiveResult<Archive> archive = Archive::create(path, {"disk-id", "Small", 1});
  EXPECT_TRUE(archive.hasValue());
  Moment before(disks);
  for (std::size_t i = 0; i < points; ++i) {
    const Moment now = nextMoment(before);
    addPoint(*archive, before, now);
    _points = archive->index().points;
    _moments[_points.back()] = now;
    before = now;
  }
}

// Incompressible, or compressible to some degree.
ByteBuffer SmallArchive::someCluster() {
  ByteBuffer bytes = randomBytes(clusterSize, static_cast<unsigned>(_random()));
  if (_random() % 3 != 0) {
    std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(1 + _random() % 12'000), bytes.end(), std::byte{9});
  }
  return bytes;
}

Moment SmallArchive::nextMoment(const Moment& before) {
  Moment now = before;
  for (DiskContent& disk : now) {
    const bool isFirst = disk.empty();
    std::erase_if(disk, [&](const auto&) { return _random() % 5 == 0; });
    for (int i = 0; i < (isFirst ? 24 : 9); ++i) {
      // Close together, so that later points meet the same places.
      disk[_random() % 3 * 2048 + _random() % 20] = someCluster();
    }
  }
  return now;
}

void SmallArchive::addPoint(Archive& archive, const Moment& before, const Moment& now) {
  const bool isFull = archive.index().points.empty();
  ArchiveResult<PendingPoint> point = archive.beginPoint();
  ASSERT_TRUE(point.hasValue());
  PointIndex index;
  index.kind = isFull ? PointKind::Full : PointKind::Increment;
  index.creationTime = static_cast<std::int64_t>(archive.index().points.size());
  if (!isFull) index.parent = archive.readPoint(archive.index().points.size() - 1)->id;
  for (std::size_t i = 0; i < now.size(); ++i) {
    StoredDisk disk;
    disk.gptId[0] = static_cast<std::uint8_t>(i + 1);
    disk.size = clusterCount * clusterSize;
    disk.image = "disk" + std::to_string(i) + ".pvhd";
    disk.map = "disk" + std::to_string(i) + ".map";
    Qcow2Writer image(
        *createIn(point->folder(), disk.image),
        {disk.size, clusterBits, isFull ? "" : "../" + archive.index().points.back() + "/" + disk.image});
    ChunkMapWriter map(*createIn(point->folder(), disk.map), clusterSize, archive.index().hashSeed);
    for (const std::uint64_t cluster : clustersOf(before[i], now[i])) {
      const auto old = before[i].find(cluster);
      const auto found = now[i].find(cluster);
      const bool isKept = old != before[i].end() && found != now[i].end() && old->second == found->second;
      if (found != now[i].end()) {
        ASSERT_TRUE(map.add(cluster, hashOfChunk(found->second, archive.index().hashSeed)).hasValue());
      }
      if (found == now[i].end()) {
        ASSERT_TRUE(image.addZeros(cluster).hasValue());
      } else if (!isKept) {
        ASSERT_TRUE(put(image, cluster, found->second).hasValue());
      }
    }
    ASSERT_TRUE(image.finish(never).hasValue() && map.finish(never).hasValue());
    index.disks.push_back(disk);
  }
  ASSERT_TRUE(archive.commitPoint(std::move(*point), index).hasValue());
}

void SmallArchive::expectExact(const Archive& archive) const {
  for (std::size_t i = 0; i < archive.index().points.size(); ++i) {
    const auto moment = _moments.find(archive.index().points[i]);
    ASSERT_NE(moment, _moments.end());
    expectExact(archive, i, moment->second);
  }
}

void SmallArchive::expectExact(const Archive& archive, std::size_t point, const Moment& expected) const {
  const ArchiveResult<PointIndex> index = archive.readPoint(point);
  ASSERT_TRUE(index.hasValue()) << index.error().text();
  ASSERT_EQ(index->disks.size(), expected.size());
  for (std::size_t disk = 0; disk < expected.size(); ++disk) {
    ArchiveResult<Qcow2Chain> chain = Qcow2Chain::open(archive, point, disk);
    ASSERT_TRUE(chain.hasValue()) << chain.error().text();
    SCOPED_TRACE(archive.pointIndexPath(point) + ": disk " + std::to_string(disk));
    expectReads(*chain, expected[disk]);
  }
}

void SmallArchive::expectReads(Qcow2Chain& chain, const DiskContent& expected) {
  ByteBuffer read(clusterSize);
  for (std::uint64_t cluster = 0; cluster < clusterCount; ++cluster) {
    // Beyond the clusters that any point can have, one in a while will do.
    if (cluster % 2048 > 20 && cluster % 97 != 0) continue;
    const ArchiveResult<Done> done = chain.read(cluster, read);
    ASSERT_TRUE(done.hasValue()) << done.error().text();
    const auto found = expected.find(cluster);
    ASSERT_TRUE(found == expected.end() ? isAllZero(read) : read == found->second) << "cluster " << cluster;
  }
}

}  // namespace zpk::test
