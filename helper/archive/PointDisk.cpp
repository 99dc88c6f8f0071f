#include "helper/archive/PointDisk.h"

#include <algorithm>
#include <utility>

namespace zpk {

PointDisk::PointDisk(StoredDisk description, std::string imagePath, Qcow2Chain chain, ChunkMapReader map)
    : _description(std::move(description)),
      _imagePath(std::move(imagePath)),
      _chain(std::move(chain)),
      _map(std::move(map)),
      _content(_chain.clusterSize()) {}

PointDisk::PointDisk(PointDisk&& other) noexcept
    : _description(std::move(other._description)),
      _imagePath(std::move(other._imagePath)),
      _chain(std::move(other._chain)),
      _map(std::move(other._map)),
      _content(std::move(other._content)),
      _loaded(std::exchange(other._loaded, std::nullopt)),
      _damage(std::move(other._damage)) {}

ArchiveResult<PointDisk> PointDisk::open(const Archive& archive, std::size_t point, std::size_t disk) {
  ArchiveResult<PointIndex> index = archive.readPoint(point);
  if (!index) return index.error();
  ArchiveResult<Qcow2Chain> chain = Qcow2Chain::open(archive, point, disk);
  if (!chain) return chain.error();
  StoredDisk& description = index->disks[disk];
  ArchiveResult<OpenFile> file = archive.openPointFile(point, description.map);
  if (!file) return file.error();
  const std::string path = file->path;
  ArchiveResult<ChunkMapReader> map = ChunkMapReader::open(std::move(*file));
  if (!map) return map.error();
  if (map->chunkSize() != chain->clusterSize() || chain->virtualSize() != description.size) {
    return damagedError("The image and the hash map of the backup point do not belong together", path);
  }
  std::string imagePath = path.substr(0, path.rfind('/') + 1) + description.image;
  return PointDisk(std::move(description), std::move(imagePath), std::move(*chain), std::move(*map));
}

ArchiveResult<Done> PointDisk::read(std::uint64_t offset, std::span<std::byte> bytes) {
  const std::lock_guard lock(_mutex);
  const std::uint64_t chunkSize = _content.size();
  while (!bytes.empty()) {
    const std::uint64_t within = offset % chunkSize;
    const auto piece = static_cast<std::size_t>(std::min<std::uint64_t>(chunkSize - within, bytes.size()));
    const ArchiveResult<Done> loaded = load(offset / chunkSize);
    if (!loaded) {
      if (!_damage) _damage = loaded.error();
      return loaded;
    }
    std::copy_n(_content.begin() + static_cast<std::ptrdiff_t>(within), piece, bytes.begin());
    bytes = bytes.subspan(piece);
    offset += piece;
  }
  return Done{};
}

ArchiveResult<Done> PointDisk::load(std::uint64_t chunk) {
  if (_loaded == chunk) return Done{};
  _loaded.reset();
  const ArchiveResult<std::optional<ChunkHash>> hash =
      chunk < _chain.clusterCount() ? _map.hashOf(chunk) : std::optional<ChunkHash>();
  if (!hash) return hash.error();
  if (*hash) {
    const ArchiveResult<Done> read = _chain.read(chunk, _content);
    if (!read) return read;
    if (hashOfChunk(_content, _map.seed()) != **hash) {
      return damagedError("The backup point is damaged: its content does not match its hash", _imagePath,
                          chunk * _content.size());
    }
  } else {
    std::ranges::fill(_content, std::byte{0});
  }
  _loaded = chunk;
  return Done{};
}

std::optional<ArchiveError> PointDisk::damage() const {
  const std::lock_guard lock(_mutex);
  return _damage;
}

}  // namespace zpk
