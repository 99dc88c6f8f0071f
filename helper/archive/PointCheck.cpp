#include "helper/archive/PointCheck.h"

#include <fcntl.h>

#include <algorithm>
#include <optional>
#include <utility>

#include "helper/archive/ChunkMap.h"
#include "helper/archive/Qcow2Chain.h"

namespace zpk {
namespace {

constexpr std::uint64_t chunksEachReport = 64;
constexpr std::uint64_t noChunk = UINT64_MAX;

// A file of a point as the medium has it, not as the page cache knows it.
ArchiveResult<OpenFile> openFromMedium(const Archive& archive, std::size_t point, const std::string& name) {
  ArchiveResult<OpenFile> file = archive.openPointFile(point, name);
  if (file) ::posix_fadvise(file->fd.get(), 0, 0, POSIX_FADV_DONTNEED);
  return file;
}

// The map of the same disk in the point that this one builds on; nothing when there is none that can be read.
std::optional<ChunkMapReader> parentMapOf(const Archive& archive, const PointIndex& point, std::size_t disk) {
  for (std::size_t i = 0; i < archive.index().points.size() && !point.parent.empty(); ++i) {
    const ArchiveResult<PointIndex> parent = archive.readPoint(i);
    if (!parent || parent->id != point.parent || disk >= parent->disks.size()) continue;
    ArchiveResult<OpenFile> file = openFromMedium(archive, i, parent->disks[disk].map);
    if (!file) return std::nullopt;
    ArchiveResult<ChunkMapReader> map = ChunkMapReader::open(std::move(*file));
    if (map) return std::move(*map);
  }
  return std::nullopt;
}

// One image and the map that names its content.
class ImageCheck {
 public:
  static ArchiveResult<ImageCheck> open(const Archive& archive, std::size_t point, const PointIndex& index,
                                        std::size_t place) {
    const StoredDisk& disk = index.disks[place];
    ArchiveResult<OpenFile> image = openFromMedium(archive, point, disk.image);
    if (!image) return image.error();
    std::string path = image->path;
    ArchiveResult<OpenFile> map = openFromMedium(archive, point, disk.map);
    if (!map) return map.error();
    ArchiveResult<Qcow2Reader> reader = Qcow2Reader::open(std::move(*image));
    if (!reader) return reader.error();
    ArchiveResult<ChunkMapReader> hashes = ChunkMapReader::open(std::move(*map));
    if (!hashes) return hashes.error();
    if (hashes->chunkSize() != reader->clusterSize()) {
      return damagedError("The image and the hash map do not belong together", path);
    }
    ImageCheck check(std::move(path), std::move(*reader), std::move(*hashes));
    check._image.gatherReads();
    check._parentMap = parentMapOf(archive, index, place);
    return check;
  }

  ArchiveResult<Done> run(PointCheck& check, const CheckProgress& progress, const CancelFlag& cancel) {
    ByteBuffer content(_image.clusterSize());
    for (std::uint64_t chunk = 0, count = 0; chunk < _image.clusterCount(); ++chunk, ++count) {
      if (cancel.isRequested()) return cancelledError();
      const ArchiveResult<std::optional<std::uint64_t>> next = nextChunk(chunk);
      if (!next) return next.error();
      if (!*next) return Done{};
      chunk = **next;
      if (!isSound(chunk, content)) note(check, chunk);
      check.bytes += content.size();
      if (count % chunksEachReport == 0) progress(check.bytes);
    }
    return Done{};
  }

 private:
  ImageCheck(std::string path, Qcow2Reader image, ChunkMapReader map)
      : _path(std::move(path)), _image(std::move(image)), _map(std::move(map)) {}

  // What the image holds, and what it should hold.
  ArchiveResult<std::optional<std::uint64_t>> nextChunk(std::uint64_t from) {
    const ArchiveResult<std::optional<std::uint64_t>> held = nextHeld(from);
    const std::optional<std::uint64_t> wanted = nextWanted(from, held ? *held : std::nullopt);
    // A table that cannot be read hides what the image holds; what the map has there is then found to be lost.
    if (!held) return wanted;
    if (!*held || !wanted) return *held ? *held : wanted;
    return std::optional(std::min(**held, *wanted));
  }

  // Where much is lost, the next chunk that is there is far away; it is looked for once.
  ArchiveResult<std::optional<std::uint64_t>> nextHeld(std::uint64_t from) {
    if (!_held || *_held < from) {
      const ArchiveResult<std::optional<std::uint64_t>> found = _image.nextPresent(from);
      if (!found) return found;
      _held = found->value_or(noChunk);
    }
    return *_held == noChunk ? std::optional<std::uint64_t>() : _held;
  }

  // The first chunk, before `limit`, that the image has to hold: all content, or what differs from the parent's.
  std::optional<std::uint64_t> nextWanted(std::uint64_t from, std::optional<std::uint64_t> limit) {
    if (_image.backingFile().empty()) return _map.nextChunk(from);
    for (std::uint64_t next = from; _parentMap;) {
      const std::optional<std::uint64_t> own = _map.nextChunk(next);
      const std::optional<std::uint64_t> parents = _parentMap->nextChunk(next);
      if (!own && !parents) break;
      const std::uint64_t chunk = std::min(own.value_or(UINT64_MAX), parents.value_or(UINT64_MAX));
      if (limit && chunk >= *limit) break;
      const ArchiveResult<std::optional<ChunkHash>> hash = _map.hashOf(chunk);
      const ArchiveResult<std::optional<ChunkHash>> parentHash = _parentMap->hashOf(chunk);
      if (!hash || (parentHash && *hash != *parentHash)) return chunk;
      next = chunk + 1;
    }
    return std::nullopt;
  }

  bool isSound(std::uint64_t chunk, std::span<std::byte> content) {
    const ArchiveResult<std::optional<ChunkHash>> hash = _map.hashOf(chunk);
    const ArchiveResult<ClusterKind> kind = _image.kindOf(chunk);
    if (!hash || !kind) return false;
    // With a parent, its content would be taken for the point's.
    if (*kind == ClusterKind::Absent) return _image.backingFile().empty() && !*hash;
    if (!_image.read(chunk, content)) return false;
    if (!*hash) return *kind == ClusterKind::Zeros || isAllZero(content);
    return hashOfChunk(content, _map.seed()) == **hash;
  }

  void note(PointCheck& check, std::uint64_t chunk) {
    const ByteRange range{chunk * _image.clusterSize(), (chunk + 1) * _image.clusterSize()};
    const bool goesOn = std::exchange(_damageEnd, range.end) == range.start;
    if (goesOn && check.furtherRanges > 0) return;
    if (goesOn) {
      check.damaged.back().range.end = range.end;
    } else if (check.damaged.size() < PointCheck::mostRanges) {
      check.damaged.push_back({_path, range});
    } else {
      ++check.furtherRanges;
    }
  }

  std::string _path;
  Qcow2Reader _image;
  ChunkMapReader _map;
  std::optional<ChunkMapReader> _parentMap;
  std::optional<std::uint64_t> _held;       // What was found the last time.
  std::optional<std::uint64_t> _damageEnd;  // Of the last range of this image.
};

}  // namespace

ArchiveResult<PointCheck> checkOwnImages(const Archive& archive, std::size_t point, const CheckProgress& progress,
                                         const CancelFlag& cancel) {
  // What is read here of the index is what the medium has; whether it can be opened is told by the reading.
  (void)openFromMedium(archive, point, Archive::pointIndexName);
  const ArchiveResult<PointIndex> index = archive.readPoint(point);
  if (!index) return index.error();
  PointCheck check;
  for (std::size_t disk = 0; disk < index->disks.size(); ++disk) {
    // What it builds on has to be there, and to be of its kind.
    const ArchiveResult<Qcow2Chain> chain = Qcow2Chain::open(archive, point, disk);
    if (!chain) return chain.error();
    ArchiveResult<ImageCheck> image = ImageCheck::open(archive, point, *index, disk);
    if (!image) return image.error();
    const ArchiveResult<Done> step = image->run(check, progress, cancel);
    if (!step) return step.error();
  }
  return check;
}

namespace {

// Whether the point that this one builds on is none any more, as after a merge that was given up. What the images
// of that one hold is in nobody's check.
bool isParentGone(const Archive& archive, const PointIndex& index) {
  if (index.parent.empty()) return false;
  for (std::size_t i = 0; i < archive.index().points.size(); ++i) {
    const ArchiveResult<PointIndex> point = archive.readPoint(i);
    if (point && point->id == index.parent) return false;
  }
  return true;
}

}  // namespace

NotedCheck checkAndNote(Archive& archive, std::size_t point, std::int64_t time, const CheckProgress& progress,
                        const CancelFlag& cancel) {
  NotedCheck result{checkOwnImages(archive, point, progress, cancel), std::nullopt};
  const ArchiveResult<PointCheck>& check = result.check;
  // An image or a map that is no such thing, is gone or cannot be read is damage as well; it has no range.
  if (!check && !isLoss(check.error())) return result;
  ArchiveResult<PointIndex> index = archive.readPoint(point);
  if (!index) {
    // Where the index is what is damaged, that says enough.
    if (check) result.whyNotNoted = index.error();
    return result;
  }
  const bool staysDamaged = index->check && index->check->isDamaged && isParentGone(archive, *index);
  index->check = LastCheck{time, staysDamaged || !check || !check->damaged.empty()};
  const ArchiveResult<Done> saved = archive.savePoint(point, *index);
  if (!saved) result.whyNotNoted = saved.error();
  return result;
}

ArchiveResult<Done> noteDamage(Archive& archive, std::size_t point, std::int64_t time) {
  ArchiveResult<PointIndex> index = archive.readPoint(point);
  if (!index) return index.error();
  index->check = LastCheck{time, true};
  return archive.savePoint(point, *index);
}

}  // namespace zpk
