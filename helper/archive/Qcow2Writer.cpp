#include "helper/archive/Qcow2Writer.h"

#include <fcntl.h>

#include <algorithm>
#include <cassert>
#include <cerrno>

#include "helper/archive/Qcow2Format.h"

namespace zpk {
namespace {

constexpr std::size_t stretchBytes = std::size_t{2} << 20;

}  // namespace

Qcow2Writer::Qcow2Writer(OpenFile file, Options options)
    : _file(std::move(file)),
      _options(std::move(options)),
      _clusterSize(std::uint64_t{1} << _options.clusterBits),
      _entriesPerTable(_clusterSize / 8),
      _counts(_clusterSize),
      _tablePlaces(divideUp(divideUp(_options.virtualSize, _clusterSize), _entriesPerTable)),
      _table(_clusterSize) {
  assert(_options.backingFile.size() <= 300);
  const std::string name = "/proc/self/fd/" + std::to_string(_file.fd.get());
  _direct = {FileDescriptor(::open(name.c_str(), O_WRONLY | O_CLOEXEC | O_DIRECT)), _file.path};
  _counts.add(0);
}

ArchiveResult<Done> Qcow2Writer::addCompressed(std::uint64_t cluster, ByteSpan frame) {
  assert(!frame.empty() && frame.size() < _clusterSize);
  const ArchiveResult<std::uint64_t> begin = append(_packed, frame);
  if (!begin) return begin.error();
  const std::uint64_t place = *begin;
  const std::uint64_t last = place + frame.size() - 1;
  const std::uint64_t furtherSectors = last / qcow2::sectorSize - place / qcow2::sectorSize;
  const std::uint64_t firstHost = place / _clusterSize;
  _counts.addRun(firstHost, last / _clusterSize - firstHost + 1);
  return setEntry(cluster,
                  qcow2::compressed | place | furtherSectors << qcow2::compressedOffsetBits(_options.clusterBits));
}

ArchiveResult<Done> Qcow2Writer::addPlain(std::uint64_t cluster, ByteSpan content) {
  const ArchiveResult<std::uint64_t> place = appendCluster(content);
  if (!place) return place.error();
  return setEntry(cluster, *place | qcow2::onlyReference);
}

ArchiveResult<Done> Qcow2Writer::addZeros(std::uint64_t cluster) {
  return setEntry(cluster, qcow2::readsAsZeros);
}

ArchiveResult<Done> Qcow2Writer::setEntry(std::uint64_t cluster, std::uint64_t entry) {
  const std::uint64_t table = cluster / _entriesPerTable;
  assert(table >= _tableIndex && table < _tablePlaces.size());
  if (table != _tableIndex) {
    ArchiveResult<Done> written = writeTable();
    if (!written) return written;
    _tableIndex = table;
  }
  putBigEndian(_table, cluster % _entriesPerTable * 8, entry);
  _tableTouched = true;
  return storeFinishedCounts();
}

ArchiveResult<Done> Qcow2Writer::writeTable() {
  if (!_tableTouched) return Done{};
  const ArchiveResult<std::uint64_t> place = appendCluster(_table);
  if (!place) return place.error();
  _tablePlaces[_tableIndex] = *place | qcow2::onlyReference;
  std::fill(_table.begin(), _table.end(), std::byte{0});
  _tableTouched = false;
  return Done{};
}

ArchiveResult<std::uint64_t> Qcow2Writer::appendCluster(ByteSpan content) {
  assert(content.size() == _clusterSize);
  const ArchiveResult<std::uint64_t> place = append(_plain, content);
  if (place) _counts.add(*place / _clusterSize);
  return place;
}

// Gives the place in the file where the bytes will be.
ArchiveResult<std::uint64_t> Qcow2Writer::append(Stretch& stretch, ByteSpan bytes) {
  if (stretch.memory.empty() || stretch.used + bytes.size() > stretchBytes) {
    const ArchiveResult<Done> opened = open(stretch);
    if (!opened) return opened.error();
  }
  std::ranges::copy(bytes, stretch.memory.bytes().subspan(stretch.used).begin());
  const std::uint64_t place = stretch.start * _clusterSize + stretch.used;
  stretch.used += bytes.size();
  return place;
}

ArchiveResult<Done> Qcow2Writer::open(Stretch& stretch) {
  if (stretch.memory.empty()) stretch.memory = AlignedBuffer(stretchBytes);
  ArchiveResult<Done> flushed = flush(stretch);
  if (!flushed) return flushed;
  stretch.start = _end;
  _end += stretchBytes / _clusterSize;
  return Done{};
}

ArchiveResult<Done> Qcow2Writer::flush(Stretch& stretch) {
  if (stretch.used == 0) return Done{};
  const std::uint64_t offset = stretch.start * _clusterSize;
  // Whole blocks, of which the stretch has room for: what follows a stretch begins on a cluster.
  const std::span<std::byte> rest = stretch.memory.bytes().subspan(stretch.used);
  const std::size_t size = roundUp(stretch.used, AlignedBuffer::alignment);
  std::ranges::fill(rest.first(size - stretch.used), std::byte{0});
  const ByteSpan blocks = stretch.memory.bytes().first(size);
  stretch.used = 0;
  if (_direct.fd) {
    // Copying into the page cache costs as much as half of the compression, and nobody reads it from there.
    ArchiveResult<Done> written = writeAt(_direct, offset, blocks);
    if (written || written.error().errorNumber != EINVAL) return written;
    _direct.fd.reset();
  }
  ArchiveResult<Done> written = writeAt(_file, offset, blocks);
  return written ? startWriteback(_file, offset, size) : written;
}

ArchiveResult<Done> Qcow2Writer::storeFinishedCounts() {
  // A stretch that is not there yet will start at the end of what is given out, or later.
  const std::uint64_t packedStart = _packed.memory.empty() ? _end : _packed.start;
  const std::uint64_t plainStart = _plain.memory.empty() ? _end : _plain.start;
  while (_counts.oldestIsBelow(std::min(packedStart, plainStart))) {
    const ByteBuffer block = _counts.takeOldest();
    const ArchiveResult<std::uint64_t> place = appendCluster(block);
    if (!place) return place.error();
    _counts.recordPlace(*place);
  }
  return Done{};
}

ArchiveResult<Done> Qcow2Writer::finish(const CancelFlag& cancel) {
  ArchiveResult<Done> step = writeTables();
  if (step) step = syncFile(_file, cancel);
  if (step) step = writeAt(_file, 0, header());
  if (step) step = syncFile(_file, cancel);
  return step;
}

ArchiveResult<Done> Qcow2Writer::writeTables() {
  ArchiveResult<Done> step = writeTable();
  const auto endOf = [this](const Stretch& stretch) {
    return stretch.used == 0 ? std::uint64_t{1} : stretch.start + divideUp(stretch.used, _clusterSize);
  };
  const std::uint64_t dataEnd = std::max(endOf(_packed), endOf(_plain));
  if (step) step = flush(_packed);
  if (step) step = flush(_plain);
  if (!step) return step;

  const std::uint64_t l1Clusters = std::max<std::uint64_t>(1, divideUp(_tablePlaces.size() * 8, _clusterSize));
  _end = dataEnd;
  _l1Place = _end * _clusterSize;
  step = writeAt(_file, _l1Place, bigEndianTable(_tablePlaces, l1Clusters * _clusterSize));
  if (!step) return step;
  _counts.addRun(_end, l1Clusters);
  _end += l1Clusters;

  // The counts also count the clusters of their own blocks and table: grow until they fit.
  std::uint64_t blocks = 0;
  std::uint64_t tableClusters = 0;
  for (bool fits = false; !fits;) {
    const std::uint64_t allBlocks = divideUp(_end + tableClusters + blocks, _counts.countsPerBlock());
    const std::uint64_t wantedTable = divideUp(allBlocks * 8, _clusterSize);
    fits = allBlocks - _counts.storedBlocks() <= blocks && wantedTable <= tableClusters;
    blocks = std::max(blocks, allBlocks - _counts.storedBlocks());
    tableClusters = std::max(tableClusters, wantedTable);
  }
  _counts.addRun(_end, tableClusters + blocks);
  return writeCounts(_end * _clusterSize, tableClusters);
}

ArchiveResult<Done> Qcow2Writer::writeCounts(std::uint64_t place, std::uint64_t tableClusters) {
  _countTablePlace = place;
  _countTableClusters = tableClusters;
  std::uint64_t next = place + tableClusters * _clusterSize;
  while (_counts.heldBlocks() > 0) {
    ArchiveResult<Done> written = writeAt(_file, next, _counts.takeOldest());
    if (!written) return written;
    _counts.recordPlace(next);
    next += _clusterSize;
  }
  _end = next / _clusterSize;
  return writeAt(_file, place, bigEndianTable(_counts.places(), tableClusters * _clusterSize));
}

ByteBuffer Qcow2Writer::header() const {
  // One sector holds all of it, so that replacing the header later is one write of the smallest unit.
  ByteBuffer bytes(qcow2::sectorSize);
  putBigEndian(bytes, 0, qcow2::magic);
  putBigEndian(bytes, 4, qcow2::version);
  putBigEndian(bytes, 20, _options.clusterBits);
  putBigEndian(bytes, 24, _options.virtualSize);
  putBigEndian(bytes, 36, static_cast<std::uint32_t>(_tablePlaces.size()));
  putBigEndian(bytes, 40, _l1Place);
  putBigEndian(bytes, 48, _countTablePlace);
  putBigEndian(bytes, 56, static_cast<std::uint32_t>(_countTableClusters));
  putBigEndian(bytes, 72, qcow2::compressionTypeFeature);
  putBigEndian(bytes, 96, qcow2::refcountOrder);
  putBigEndian(bytes, 100, qcow2::headerLength);
  putBigEndian(bytes, 104, qcow2::zstdCompression);
  std::size_t place = qcow2::headerLength;
  if (!_options.backingFile.empty()) {
    const std::string_view format = "qcow2";
    putBigEndian(bytes, place, qcow2::backingFormatExtension);
    putBigEndian(bytes, place + 4, static_cast<std::uint32_t>(format.size()));
    std::memcpy(&bytes[place + 8], format.data(), format.size());
    place += 16;
    putBigEndian(bytes, 8, static_cast<std::uint64_t>(place + 8));  // Behind the end mark of eight zero bytes.
    putBigEndian(bytes, 16, static_cast<std::uint32_t>(_options.backingFile.size()));
    std::memcpy(&bytes[place + 8], _options.backingFile.data(), _options.backingFile.size());
  }
  return bytes;
}

}  // namespace zpk
