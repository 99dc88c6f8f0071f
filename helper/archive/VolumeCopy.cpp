#include "helper/archive/VolumeCopy.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>

namespace zpk {
namespace {

constexpr std::uint64_t pieceSize = std::uint64_t{1} << 20U;
constexpr std::size_t piecesAhead = 8;
constexpr std::uint64_t writebackEach = std::uint64_t{8} << 20U;

struct Piece {
  std::uint64_t offset = 0;  // On the stored disk.
  ByteBuffer content;
};

class Copier {
 public:
  Copier(const VolumeCopy& copy, const CancelFlag& cancel) : _copy(copy), _cancel(cancel) {}
  Copier(const Copier&) = delete;
  Copier& operator=(const Copier&) = delete;
  ~Copier() {
    {
      const std::lock_guard lock(_mutex);
      _stopped = true;
    }
    _changed.notify_all();
    if (_reader.joinable()) _reader.join();
  }

  ArchiveResult<Done> run(const CopiedBytes& progress) {
    try {
      _reader = std::thread([this] { readAll(); });
    } catch (const std::system_error&) {
      return readError("Not enough resources to read the backup point", {}, 0, EAGAIN);
    }
    std::uint64_t done = 0;
    while (const std::optional<Piece> piece = take()) {
      if (_cancel.isRequested()) return cancelledError();
      const ArchiveResult<Done> step = write(*piece);
      if (!step) return step;
      done += piece->content.size();
      progress(done);
    }
    if (_cancel.isRequested()) return cancelledError();
    const std::lock_guard lock(_mutex);
    return _error ? ArchiveResult<Done>(*_error) : Done{};
  }

 private:
  ArchiveResult<Done> write(const Piece& piece) {
    const std::uint64_t at = _copy.place + (piece.offset - _copy.range.start);
    ArchiveResult<Done> step = _copy.target.write(at, piece.content);
    const std::uint64_t end = at + piece.content.size();
    if (step && end - std::min(end, _handedOver) >= writebackEach) {
      const std::uint64_t from = std::max(_handedOver, _copy.place);
      step = _copy.target.startWriteback(from, end - from);
      _handedOver = end;
    }
    return step;
  }

  void readAll() {
    const ByteRange range = _copy.range;
    std::uint64_t next = range.start;
    while (const auto used = _copy.layout.next(next, range.end)) {
      next = std::min(used->end, used->start + pieceSize);
      Piece piece{used->start, ByteBuffer(next - used->start)};
      const ArchiveResult<Done> read = _copy.source.read(piece.offset, piece.content);
      if (!hand(read, std::move(piece))) return;
    }
    const std::lock_guard lock(_mutex);
    _isEnd = true;
    _changed.notify_all();
  }

  bool hand(const ArchiveResult<Done>& read, Piece piece) {
    std::unique_lock lock(_mutex);
    _changed.wait(lock, [this] { return _stopped || _ready.size() < piecesAhead; });
    if (read) {
      _ready.push_back(std::move(piece));
    } else {
      _error = read.error();
      _isEnd = true;
    }
    _changed.notify_all();
    return read && !_stopped;
  }

  std::optional<Piece> take() {
    std::unique_lock lock(_mutex);
    _changed.wait(lock, [this] { return _isEnd || !_ready.empty(); });
    if (_ready.empty() || _error) return std::nullopt;
    Piece piece = std::move(_ready.front());
    _ready.pop_front();
    _changed.notify_all();
    return piece;
  }

  const VolumeCopy& _copy;
  const CancelFlag& _cancel;
  std::uint64_t _handedOver = 0;  // Up to there, on the target.
  std::mutex _mutex;
  std::condition_variable _changed;
  // Guarded by the mutex.
  std::deque<Piece> _ready;
  std::optional<ArchiveError> _error;
  bool _isEnd = false;
  bool _stopped = false;

  std::thread _reader;
};

}  // namespace

std::uint64_t bytesToCopy(const DiskLayout& layout, ByteRange range) {
  std::uint64_t bytes = 0;
  std::uint64_t next = range.start;
  while (const auto used = layout.next(next, range.end)) {
    bytes += used->size();
    next = used->end;
  }
  return bytes;
}

ArchiveResult<Done> copyVolume(const VolumeCopy& copy, const CopiedBytes& progress, const CancelFlag& cancel) {
  return Copier(copy, cancel).run(progress);
}

}  // namespace zpk
