#include "helper/archive/DiskImager.h"

#include <zstd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <vector>

#include "helper/archive/DiskSpan.h"

namespace zpk {
namespace {

constexpr int compressionLevel = 1;
constexpr unsigned mostWorkers = 16;
constexpr unsigned spansAhead = 8;  // Beside the one in the hands of each worker.

struct FreeCompressor {
  void operator()(ZSTD_CCtx_s* context) const { ZSTD_freeCCtx(context); }
};
using Compressor = std::unique_ptr<ZSTD_CCtx_s, FreeCompressor>;

Compressor makeCompressor() {
  Compressor context(ZSTD_createCCtx());
  if (context) ZSTD_CCtx_setParameter(context.get(), ZSTD_c_compressionLevel, compressionLevel);
  return context;
}

// More workers than processors, so that the disk has requests waiting while others compress.
unsigned workerCount() {
  return std::min(mostWorkers, std::max(1U, std::thread::hardware_concurrency()) + 6);
}

class Pipeline {
 public:
  Pipeline(const DiskImageJob& job, const CancelFlag& cancel) : _job(job), _cancel(cancel) {}
  Pipeline(const Pipeline&) = delete;
  Pipeline& operator=(const Pipeline&) = delete;
  ~Pipeline() {
    stop();
    for (std::thread& worker : _workers) worker.join();
  }

  ArchiveResult<Done> run(const ImagedBytes& progress) {
    start();
    std::uint64_t done = 0;
    for (std::uint64_t ticket = 0;; ++ticket) {
      std::unique_ptr<DiskSpan> span = waitFor(ticket);
      if (_cancel.isRequested()) return cancelledError();
      if (!span) return _error ? ArchiveResult<Done>(*_error) : _job.sink.endOfDisk();
      const ArchiveResult<Done> written = write(*span);
      if (!written) return written;
      done += span->usedBytes();
      progress(done);
      giveBack(std::move(span));
    }
  }

 private:
  void start() {
    const unsigned workers = workerCount();
    for (unsigned i = 0; i < workers + spansAhead; ++i) {
      _free.push_back(std::make_unique<DiskSpan>(_job.sink.chunkSize()));
    }
    _running = workers;
    for (unsigned i = 0; i < workers; ++i) {
      try {
        _workers.emplace_back([this] { work(); });
      } catch (const std::system_error&) {
        // Fewer workers do the same; none at all is an error that finished() sees.
        const std::lock_guard lock(_mutex);
        _running -= workers - i;
        if (i == 0) _error = readError("Not enough resources to read the disk", _job.disk.path(), 0, EAGAIN);
        return;
      }
    }
  }

  void stop() {
    const std::lock_guard lock(_mutex);
    _stopped = true;
    _spanFreed.notify_all();
  }

  void work() {
    const Compressor compressor = makeCompressor();
    if (!compressor) fail(readError("Not enough memory to compress", _job.disk.path(), 0, ENOMEM));
    while (compressor) {
      std::uint64_t ticket = 0;
      std::unique_ptr<DiskSpan> span = take(ticket);
      if (!span) break;
      ArchiveResult<Done> read = span->read(_job.disk);
      if (read && _job.sink.parent() != nullptr) read = span->look(*_job.sink.parent());
      if (!read) {
        fail(read.error());
        break;
      }
      if (_cancel.isRequested()) break;
      span->pack(compressor.get(), _job.hashSeed);
      const std::lock_guard lock(_mutex);
      _ready.emplace(ticket, std::move(span));
      _spanReady.notify_one();
    }
    const std::lock_guard lock(_mutex);
    --_running;
    _spanReady.notify_one();
  }

  // The next span to work on; nothing when all are given out or the pipeline stopped.
  std::unique_ptr<DiskSpan> take(std::uint64_t& ticket) {
    std::unique_lock lock(_mutex);
    _spanFreed.wait(lock, [this] { return _stopped || _planned || !_free.empty(); });
    if (_stopped || _planned) return nullptr;
    std::unique_ptr<DiskSpan> span = std::move(_free.back());
    _free.pop_back();
    if (!span->plan(_job.layout, _position)) {
      _planned = true;
      _spanFreed.notify_all();
      return nullptr;
    }
    _position = span->end();
    ticket = _nextTicket++;
    return span;
  }

  void fail(const ArchiveError& error) {
    const std::lock_guard lock(_mutex);
    if (!_error) _error = error;
    _stopped = true;
    _spanFreed.notify_all();
  }

  // The span of that ticket; nothing when there is no such span, after an error, or when cancelled.
  std::unique_ptr<DiskSpan> waitFor(std::uint64_t ticket) {
    std::unique_lock lock(_mutex);
    for (;;) {
      if (_error || _cancel.isRequested()) return nullptr;
      const auto found = _ready.find(ticket);
      if (found != _ready.end()) {
        std::unique_ptr<DiskSpan> span = std::move(found->second);
        _ready.erase(found);
        return span;
      }
      if (_running == 0) return nullptr;
      _spanReady.wait_for(lock, std::chrono::milliseconds(100));
    }
  }

  void giveBack(std::unique_ptr<DiskSpan> span) {
    const std::lock_guard lock(_mutex);
    _free.push_back(std::move(span));
    _spanFreed.notify_one();
  }

  ArchiveResult<Done> write(const DiskSpan& span) {
    for (const SpanChunk& chunk : span.chunks()) {
      ArchiveResult<Done> step = _job.sink.add(chunk);
      if (!step) return step;
    }
    return Done{};
  }

  const DiskImageJob& _job;
  const CancelFlag& _cancel;
  std::mutex _mutex;
  std::condition_variable _spanFreed;
  std::condition_variable _spanReady;
  // Guarded by the mutex.
  std::vector<std::unique_ptr<DiskSpan>> _free;
  std::map<std::uint64_t, std::unique_ptr<DiskSpan>> _ready;
  std::uint64_t _nextTicket = 0;
  std::uint64_t _position = 0;
  unsigned _running = 0;
  bool _planned = false;
  bool _stopped = false;
  std::optional<ArchiveError> _error;

  std::vector<std::thread> _workers;
};

}  // namespace

ArchiveResult<Done> imageDisk(const DiskImageJob& job, const ImagedBytes& progress, const CancelFlag& cancel) {
  return Pipeline(job, cancel).run(progress);
}

}  // namespace zpk
