#pragma once

#include <map>
#include <string>
#include <vector>

#include "helper/archive/Archive.h"
#include "helper/archive/Qcow2Chain.h"
#include "helper/archive/TestFiles.h"

namespace zpk::test {

// What a disk holds: its clusters that are not all zeros.
using DiskContent = std::map<std::uint64_t, ByteBuffer>;

// What a backup point holds, disk by disk.
using Moment = std::vector<DiskContent>;

// Archives with few clusters, written cluster by cluster: made in milliseconds, and small enough to be held in
// memory as a whole. There are clusters of every kind, in the areas of three tables of an image.
class SmallArchive {
 public:
  static constexpr unsigned clusterBits = 14;
  static constexpr std::uint64_t clusterSize = std::uint64_t{1} << clusterBits;
  static constexpr std::uint64_t clusterCount = 3 * 2048;

  // A new archive at `path` with a full point and `points` - 1 increments.
  SmallArchive(const std::string& path, std::size_t points, std::size_t disks, unsigned seed);

  // What each point holds, by the name of the point's folder.
  const std::map<std::string, Moment>& moments() const { return _moments; }
  const std::vector<std::string>& points() const { return _points; }

  // The disk of a point reads as it has to.
  static void expectReads(Qcow2Chain& chain, const DiskContent& expected);
  // Every point that the archive lists reads as it has to, through whatever its images build on.
  void expectExact(const Archive& archive) const;

 private:
  Moment nextMoment(const Moment& before);
  ByteBuffer someCluster();
  void addPoint(Archive& archive, const Moment& before, const Moment& now);
  void expectExact(const Archive& archive, std::size_t point, const Moment& expected) const;

  std::mt19937 _random;
  std::vector<std::string> _points;
  std::map<std::string, Moment> _moments;
};

// A zstd frame of the cluster, however long.
ByteBuffer wholeFrameOf(ByteSpan cluster);
// The same; empty when it does not shrink.
ByteBuffer frameOf(ByteSpan cluster);

}  // namespace zpk::test
