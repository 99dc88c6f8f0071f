#include "helper/archive/VolumeView.h"

#include <algorithm>

namespace zpk {

VolumeView::VolumeView(PointDisk& source, const RestoreTarget& target, const PartitionMove& move)
    : _source(source), _target(target), _move(move) {}

std::uint64_t VolumeView::size() const {
  return _endsWithPlace ? _move.place.size() : std::max(_move.source.size(), _move.place.size());
}

bool VolumeView::isKept(std::uint64_t page) const {
  return page == 0 || page == lastPage();
}

ByteRange VolumeView::rangeOf(std::uint64_t page) const {
  return {page * pageSize, std::min((page + 1) * pageSize, _move.place.size())};
}

bool VolumeView::isOnTarget(std::uint64_t page) const {
  return _isCopied && page < lastPage() && page != 0;
}

bool VolumeView::read(std::uint64_t offset, std::span<std::byte> bytes) {
  ArchiveResult<Done> step = Done{};
  while (step && !bytes.empty()) {
    const auto piece =
        static_cast<std::size_t>(std::min(pageSize - offset % pageSize, std::uint64_t{bytes.size()}));
    step = readPiece(offset, bytes.first(piece));
    bytes = bytes.subspan(piece);
    offset += piece;
  }
  return note(step);
}

bool VolumeView::write(std::uint64_t offset, ByteSpan bytes) {
  ArchiveResult<Done> step = Done{};
  while (step && !bytes.empty()) {
    const auto piece =
        static_cast<std::size_t>(std::min(pageSize - offset % pageSize, std::uint64_t{bytes.size()}));
    step = writePiece(offset, bytes.first(piece));
    bytes = bytes.subspan(piece);
    offset += piece;
  }
  return note(step);
}

ArchiveResult<Done> VolumeView::readPiece(std::uint64_t offset, std::span<std::byte> bytes) {
  const std::uint64_t page = offset / pageSize;
  if (isOnTarget(page)) return _target.read(_move.place.start + offset, bytes);
  const auto kept = _kept.find(page);
  if (kept == _kept.end()) return readStored(offset, bytes);
  std::copy_n(kept->second.begin() + static_cast<std::ptrdiff_t>(offset % pageSize), bytes.size(), bytes.begin());
  return Done{};
}

ArchiveResult<Done> VolumeView::writePiece(std::uint64_t offset, ByteSpan bytes) {
  const std::uint64_t page = offset / pageSize;
  if (!_isCopied) return writeError("The stored volume cannot be changed", {}, offset, 0);
  if (isOnTarget(page)) return _target.write(_move.place.start + offset, bytes);
  const ArchiveResult<Page*> kept = keptPage(page);
  if (!kept) return kept.error();
  std::ranges::copy(bytes, (*kept)->begin() + static_cast<std::ptrdiff_t>(offset % pageSize));
  return Done{};
}

// Behind the partition on its disk there is another one, which is none of this volume's business.
ArchiveResult<Done> VolumeView::readStored(std::uint64_t offset, std::span<std::byte> bytes) {
  const std::uint64_t size = _move.source.size();
  const auto stored =
      offset < size ? static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size(), size - offset)) : 0;
  std::ranges::fill(bytes.subspan(stored), std::byte{0});
  return _source.read(_move.source.start + offset, bytes.first(stored));
}

ArchiveResult<VolumeView::Page*> VolumeView::keptPage(std::uint64_t page) {
  const auto [place, isNew] = _kept.try_emplace(page);
  if (!isNew) return &place->second;
  ArchiveResult<Done> step = Done{};
  if (_kept.size() > mostKeptPages) {
    step = writeError("Too much was written behind the end of the volume", {}, page * pageSize, 0);
  }
  if (step) step = readStored(page * pageSize, place->second);
  if (step) return &place->second;
  _kept.erase(place);
  return step.error();
}

ArchiveResult<Done> VolumeView::clearPlace() const {
  ArchiveResult<Done> step = Done{};
  for (const std::uint64_t page : {std::uint64_t{0}, lastPage()}) {
    const ByteRange range = rangeOf(page);
    if (step) step = _target.writeZeros({_move.place.start + range.start, _move.place.start + range.end});
  }
  return step;
}

ArchiveResult<Done> VolumeView::putDown(const CancelFlag& cancel) {
  ArchiveResult<Done> step = _target.sync(cancel);
  for (const std::uint64_t page : {lastPage(), std::uint64_t{0}}) {
    const ArchiveResult<Page*> kept = keptPage(page);
    if (!kept) return kept.error();
    const ByteRange range = rangeOf(page);
    if (step) step = _target.write(_move.place.start + range.start, ByteSpan(**kept).first(range.size()));
    if (step) step = _target.sync(cancel);
  }
  return step;
}

bool VolumeView::note(const ArchiveResult<Done>& step) {
  if (step) return true;
  const std::lock_guard lock(_mutex);
  if (!_loss) _loss = step.error();
  return false;
}

std::optional<ArchiveError> VolumeView::loss() const {
  const std::lock_guard lock(_mutex);
  return _loss;
}

}  // namespace zpk
