#include "helper/archive/Qcow2Rewriter.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cassert>
#include <cerrno>

#include "helper/archive/ImageFileUse.h"
#include "helper/archive/Qcow2Format.h"
#include "helper/archive/Qcow2Reader.h"

namespace zpk {
namespace {

// Places of the header's fields that name the tables.
constexpr std::size_t l1PlaceField = 40;
constexpr std::size_t countTablePlaceField = 48;
constexpr std::size_t countTableClustersField = 56;

// What an image may be long beyond twice the size of its disk. Keeps the memory for its clusters within bounds.
constexpr std::uint64_t largestOverhead = std::uint64_t{1} << 30U;

// Making a hole costs about as much as writing it full. What a shorter run of clusters takes is left to the next
// rewriting, unless that is more than one part in so many of the image.
constexpr std::uint64_t smallestHole = std::uint64_t{64} << 10U;
constexpr std::uint64_t shareThatMayStay = 16;

// How many references are counted in one go: 64 MiB of memory, and half a terabyte of a file of 16 KiB clusters.
constexpr std::uint64_t countsAtOnce = std::uint64_t{32} << 20U;

// Frames that lie one behind the other are written at once, up to this many bytes.
constexpr std::size_t pendingLimit = std::size_t{1} << 20U;

bool isShort(const Qcow2Space::Run& run, std::uint64_t clusterSize) {
  return run.count * clusterSize < smallestHole;
}

}  // namespace

ArchiveError Qcow2Rewriter::damaged(const char* message, std::uint64_t place) const {
  return damagedError(message, _file.path, place);
}

ArchiveResult<Qcow2Rewriter> Qcow2Rewriter::open(OpenFile file) {
  OpenFile again{FileDescriptor(::fcntl(file.fd.get(), F_DUPFD_CLOEXEC, 0)), file.path};
  if (!again.fd) return readError("The image could not be opened", file.path, 0, errno);
  const ArchiveResult<Qcow2Reader> checked = Qcow2Reader::open(std::move(again));
  if (!checked) return checked.error();
  const ArchiveResult<std::uint64_t> size = sizeOf(file);
  if (!size) return size.error();
  if (*size / 2 > checked->virtualSize() + largestOverhead) {
    return damagedError("The image is larger than an image of its disk can be", file.path);
  }
  Qcow2Rewriter rewriter(std::move(file), checked->clusterSize(), *size);
  rewriter._clusterBits = checked->clusterBits();
  rewriter._virtualSize = checked->virtualSize();
  rewriter._hasParent = !checked->backingFile().empty();
  ArchiveResult<Done> step = rewriter.readHeader();
  if (step) step = rewriter.findUsed();
  if (step) step = rewriter.readCountPlaces();
  if (!step) return step.error();
  return rewriter;
}

ArchiveResult<Done> Qcow2Rewriter::readHeader() {
  ByteBuffer header(qcow2::sectorSize);
  ArchiveResult<Done> step = readAt(_file, 0, header);
  if (!step) return step;
  _space.use(0);
  _l1Place = bigEndianAt<std::uint64_t>(header, l1PlaceField);
  const ArchiveResult<std::vector<std::uint64_t>> l1 =
      readNumbers(_l1Place, bigEndianAt<std::uint32_t>(header, 36));
  if (!l1) return l1.error();
  _l1 = *l1;
  const auto countPlace = bigEndianAt<std::uint64_t>(header, countTablePlaceField);
  _countTable = {countPlace / _clusterSize, bigEndianAt<std::uint32_t>(header, countTableClustersField)};
  const bool isPlaced = _l1Place % _clusterSize == 0 && countPlace % _clusterSize == 0 &&
                        _space.use(_l1Place / _clusterSize, divideUp(_l1.size() * 8, _clusterSize)) &&
                        _countTable.count <= qcow2::largestCountTable / _clusterSize &&
                        _space.use(_countTable.first, _countTable.count);
  return isPlaced ? ArchiveResult<Done>(Done{}) : damaged("A table of the image is out of place", 0);
}

ArchiveResult<std::vector<std::uint64_t>> Qcow2Rewriter::readNumbers(std::uint64_t place,
                                                                     std::uint64_t count) const {
  if (place > _originalSize || count > (_originalSize - place) / 8) {
    return damaged("A table of the image is out of place", place);
  }
  ByteBuffer bytes(count * 8);
  const ArchiveResult<Done> read = readAt(_file, place, bytes);
  if (!read) return read.error();
  std::vector<std::uint64_t> numbers(count);
  for (std::size_t i = 0; i < count; ++i) numbers[i] = bigEndianAt<std::uint64_t>(bytes, i * 8);
  return numbers;
}

ArchiveResult<Done> Qcow2Rewriter::findUsed() {
  const CancelFlag never;
  return visitContent(never, [this](const HostRange& hosts) { return _space.use(hosts.first, hosts.count); });
}

template <class Visit>
ArchiveResult<Done> Qcow2Rewriter::visitContent(const CancelFlag& cancel, const Visit& visit) const {
  ByteBuffer table(_clusterSize);
  for (const std::uint64_t entry : _l1) {
    const std::uint64_t place = entry & qcow2::offsetMask;
    if (place == 0) continue;
    if (cancel.isRequested()) return cancelledError();
    if (place % _clusterSize != 0 || !visit(HostRange{place / _clusterSize, 1})) {
      return damaged("A table of the image is out of place", place);
    }
    ArchiveResult<Done> step = visitTable(place, table, visit);
    if (!step) return step;
  }
  return Done{};
}

template <class Visit>
ArchiveResult<Done> Qcow2Rewriter::visitTable(std::uint64_t place, ByteBuffer& table, const Visit& visit) const {
  ArchiveResult<Done> read = readAt(_file, place, table);
  if (!read) return read;
  for (std::size_t i = 0; i < table.size(); i += 8) {
    if (!visit(hostsOf(bigEndianAt<std::uint64_t>(table, i)))) {
      return damaged("A cluster of the image is out of place", place);
    }
  }
  return Done{};
}

ArchiveResult<Done> Qcow2Rewriter::readCountPlaces() {
  const ArchiveResult<std::vector<std::uint64_t>> places =
      readNumbers(_countTable.first * _clusterSize, _countTable.count * (_clusterSize / 8));
  if (!places) return places.error();
  for (const std::uint64_t place : *places) {
    if (place == 0) continue;
    if (place % _clusterSize != 0 || !_space.use(place / _clusterSize)) {
      return damaged("A table of the image is out of place", place);
    }
  }
  return Done{};
}

// The host clusters that an L2 entry refers to.
Qcow2Rewriter::HostRange Qcow2Rewriter::hostsOf(std::uint64_t entry) const {
  if ((entry & qcow2::compressed) == 0) {
    const std::uint64_t place = entry & qcow2::offsetMask;
    return {place / _clusterSize, place == 0 ? 0U : 1U};
  }
  const unsigned offsetBits = qcow2::compressedOffsetBits(_clusterBits);
  const std::uint64_t place = entry & ((std::uint64_t{1} << offsetBits) - 1);
  const std::uint64_t further = (entry & ~(qcow2::compressed | qcow2::onlyReference)) >> offsetBits;
  const std::uint64_t lastSector = place / qcow2::sectorSize + further;
  const std::uint64_t first = place / _clusterSize;
  return {first, lastSector * qcow2::sectorSize / _clusterSize - first + 1};
}

ArchiveResult<Done> Qcow2Rewriter::put(std::uint64_t place, ByteSpan bytes) {
  const bool follows = place == _pendingPlace + _pending.size() && _pending.size() < pendingLimit;
  if (!follows) {
    ArchiveResult<Done> written = writePending();
    if (!written) return written;
    _pendingPlace = place;
  }
  _pending.insert(_pending.end(), bytes.begin(), bytes.end());
  return Done{};
}

ArchiveResult<Done> Qcow2Rewriter::writePending() {
  if (_pending.empty()) return Done{};
  ArchiveResult<Done> written = writeAt(_file, _pendingPlace, _pending);
  _pending.clear();
  return written;
}

ArchiveResult<Done> Qcow2Rewriter::putCompressed(std::uint64_t cluster, ByteSpan frame) {
  const std::uint64_t place = _space.takePacked(frame.size());
  ArchiveResult<Done> step = put(place, frame);
  const std::uint64_t further = (place + frame.size() - 1) / qcow2::sectorSize - place / qcow2::sectorSize;
  const std::uint64_t entry = qcow2::compressed | place | further << qcow2::compressedOffsetBits(_clusterBits);
  return step ? setEntry(cluster, entry) : step;
}

ArchiveResult<Done> Qcow2Rewriter::putPlain(std::uint64_t cluster, ByteSpan content) {
  assert(content.size() == _clusterSize);
  const std::uint64_t place = _space.take() * _clusterSize;
  ArchiveResult<Done> step = put(place, content);
  return step ? setEntry(cluster, place | qcow2::onlyReference) : step;
}

ArchiveResult<Done> Qcow2Rewriter::putZeros(std::uint64_t cluster) {
  // Without a parent, nothing reads as zeros by itself.
  return setEntry(cluster, _hasParent ? qcow2::readsAsZeros : 0);
}

ArchiveResult<Done> Qcow2Rewriter::setEntry(std::uint64_t cluster, std::uint64_t entry) {
  const std::uint64_t perTable = _clusterSize / 8;
  if (cluster / perTable >= _l1.size()) return damaged("The image is smaller than what is put into it", 0);
  if (_tableIndex != cluster / perTable) {
    ArchiveResult<Done> step = storeTable();
    if (step) step = loadTable(cluster / perTable);
    if (!step) return step;
  }
  putBigEndian(_table, cluster % perTable * 8, entry);
  return Done{};
}

ArchiveResult<Done> Qcow2Rewriter::loadTable(std::uint64_t index) {
  _tableIndex = index;
  const std::uint64_t place = _l1[index] & qcow2::offsetMask;
  if (place != 0) return readAt(_file, place, _table);
  std::ranges::fill(_table, std::byte{0});
  return Done{};
}

ArchiveResult<Done> Qcow2Rewriter::storeTable() {
  if (!_tableIndex) return Done{};
  std::uint64_t& l1Entry = _l1[*std::exchange(_tableIndex, std::nullopt)];
  l1Entry = 0;
  if (isAllZero(_table)) return Done{};
  const std::uint64_t place = _space.take() * _clusterSize;
  l1Entry = place | qcow2::onlyReference;
  return put(place, _table);
}

ArchiveResult<Done> Qcow2Rewriter::prepare(const CancelFlag& cancel) {
  ArchiveResult<Done> step = storeTable();
  if (step) step = writePending();
  _space.endPacking();
  if (step) step = storeFirstTable();
  if (step) step = placeCounts();
  if (step) step = storeCounts(cancel);
  if (!step) return step;
  // Whole clusters up to the end, for readers that want them so.
  const std::uint64_t end = _space.usedEnd() * _clusterSize;
  if (end > _originalSize && ::ftruncate(_file.fd.get(), static_cast<off_t>(end)) != 0) {
    return writeError("The archive could not be written", _file.path, end, errno);
  }
  return syncFile(_file, cancel);
}

ArchiveResult<Done> Qcow2Rewriter::storeFirstTable() {
  const std::uint64_t clusters = divideUp(_l1.size() * 8, _clusterSize);
  _newL1Place = _space.take(clusters) * _clusterSize;
  return writeAt(_file, _newL1Place, bigEndianTable(_l1, clusters * _clusterSize));
}

ArchiveResult<Done> Qcow2Rewriter::placeCounts() {
  // The counts also count their own clusters, of which each may be one more at the end of the file.
  const std::uint64_t perBlock = _clusterSize / 2;
  const std::uint64_t blocks = divideUp(_space.clusters(), perBlock);
  const std::uint64_t mostBlocks = blocks + blocks / perBlock + 2;
  _newCountTable.count = divideUp(mostBlocks * 8, _clusterSize);
  _newCountTable.first = _space.take(_newCountTable.count);
  while (_newCountPlaces.size() * perBlock < _space.clusters()) {
    _newCountPlaces.push_back(_space.take() * _clusterSize);
  }
  assert(_newCountPlaces.size() <= mostBlocks);
  return writeAt(_file, _newCountTable.first * _clusterSize,
                 bigEndianTable(_newCountPlaces, _newCountTable.count * _clusterSize));
}

ArchiveResult<Done> Qcow2Rewriter::storeCounts(const CancelFlag& cancel) {
  const std::uint64_t perBlock = _clusterSize / 2;
  const std::uint64_t clusters = _space.clusters();
  _newSpace = Qcow2Space(_clusterSize, clusters * _clusterSize);
  for (std::uint64_t first = 0; first < clusters; first += countsAtOnce) {
    const HostRange window{first, std::min(countsAtOnce, clusters - first)};
    const ArchiveResult<std::vector<std::uint16_t>> counts = countReferences(window, cancel);
    if (!counts) return counts.error();
    for (std::uint64_t start = 0; start < window.count; start += perBlock) {
      ByteBuffer block(_clusterSize);
      const std::uint64_t end = std::min(window.count, start + perBlock);
      for (std::uint64_t i = start; i < end; ++i) {
        putBigEndian(block, (i - start) * 2, (*counts)[i]);
        if ((*counts)[i] != 0) _newSpace.use(first + i);
      }
      ArchiveResult<Done> written = writeAt(_file, _newCountPlaces[(first + start) / perBlock], block);
      if (!written) return written;
    }
  }
  return Done{};
}

ArchiveResult<std::vector<std::uint16_t>> Qcow2Rewriter::countReferences(const HostRange& window,
                                                                         const CancelFlag& cancel) const {
  std::vector<std::uint16_t> counts(window.count);
  const auto count = [&](const HostRange& hosts) {
    const std::uint64_t end = std::min(hosts.first + hosts.count, window.first + window.count);
    for (std::uint64_t i = std::max(hosts.first, window.first); i < end; ++i) {
      // So many frames do not fit into a cluster.
      if (++counts[i - window.first] == 0) return false;
    }
    return true;
  };
  count({0, 1});
  count({_newL1Place / _clusterSize, divideUp(_l1.size() * 8, _clusterSize)});
  count(_newCountTable);
  for (const std::uint64_t place : _newCountPlaces) count({place / _clusterSize, 1});
  const ArchiveResult<Done> counted = visitContent(cancel, count);
  if (!counted) return counted.error();
  return counts;
}

ArchiveResult<Done> Qcow2Rewriter::switchOver() {
  assert(_newL1Place != 0);
  ByteBuffer header(qcow2::sectorSize);
  ArchiveResult<Done> step = readAt(_file, 0, header);
  if (!step) return step;
  putBigEndian(header, l1PlaceField, _newL1Place);
  putBigEndian(header, countTablePlaceField, _newCountTable.first * _clusterSize);
  putBigEndian(header, countTableClustersField, static_cast<std::uint32_t>(_newCountTable.count));
  step = storeHeader(header);
  if (step) _space = std::move(_newSpace);
  return step;
}

ArchiveResult<Done> Qcow2Rewriter::confirmSwitch() {
  // Written again, not only synced: of a write that failed, the sync that told so is the only one that does.
  ByteBuffer header(qcow2::sectorSize);
  ArchiveResult<Done> step = readAt(_file, 0, header);
  return step ? storeHeader(header) : step;
}

ArchiveResult<Done> Qcow2Rewriter::storeHeader(ByteSpan header) {
  ArchiveResult<Done> step = writeAt(_file, 0, header);
  const CancelFlag never;
  return step ? syncFile(_file, never) : step;
}

void Qcow2Rewriter::giveBack() {
  // Whoever has the image open reads by the tables that it had then, and nobody is to open it halfway.
  if (keepOthersOut(_file.fd) && !isOpenElsewhere(_file.fd)) punchUnused();
  letOthersIn(_file.fd);
}

bool Qcow2Rewriter::takesRoom(const Qcow2Space::Run& run) const {
  const auto start = static_cast<off_t>(run.first * _clusterSize);
  const off_t data = ::lseek(_file.fd.get(), start, SEEK_DATA);
  // Whoever cannot say where the holes are is asked to make one.
  if (data < 0) return errno != ENXIO;
  return data < start + static_cast<off_t>(run.count * _clusterSize);
}

bool Qcow2Rewriter::mayKeepShortRuns() const {
  const std::uint64_t end = _space.usedEnd();
  std::uint64_t kept = 0;
  for (auto run = _space.nextUnused(0); run && run->first < end; run = _space.nextUnused(run->first + run->count)) {
    if (isShort(*run, _clusterSize) && takesRoom(*run)) kept += run->count;
  }
  return kept <= end / shareThatMayStay;
}

void Qcow2Rewriter::punchUnused() {
  const std::uint64_t end = _space.usedEnd();
  const bool keepsShort = mayKeepShortRuns();
  for (auto run = _space.nextUnused(0); run && run->first < end; run = _space.nextUnused(run->first + run->count)) {
    if ((keepsShort && isShort(*run, _clusterSize)) || !takesRoom(*run)) continue;
    if (::fallocate(_file.fd.get(), FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE,
                    static_cast<off_t>(run->first * _clusterSize),
                    static_cast<off_t>(run->count * _clusterSize)) != 0) {
      break;
    }
  }
  [[maybe_unused]] const int result = ::ftruncate(_file.fd.get(), static_cast<off_t>(end * _clusterSize));
}

void Qcow2Rewriter::discard() {
  if (::ftruncate(_file.fd.get(), static_cast<off_t>(_originalSize)) != 0) return;
  // What was written into holes takes room, too. What the image needs is in its tables, which were never touched.
  ArchiveResult<Qcow2Rewriter> asItWas = open(std::move(_file));
  if (asItWas) asItWas->giveBack();
}

}  // namespace zpk
