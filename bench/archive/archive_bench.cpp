// One operation of the archive on a raw disk image with one partition, and what it cost.
//
//   archive_bench full|increment DISK.img START SIZE ARCHIVE.rldbackup
//   archive_bench merge|check ARCHIVE.rldbackup      of the newest point
//   archive_bench floor DISK.img START SIZE          only reads and hashes what is in use
//
// START and SIZE are the bytes of the partition.

#include <sys/resource.h>
#include <xxhash.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "helper/archive/AlignedBuffer.h"
#include "helper/archive/BackupOperation.h"
#include "helper/archive/DiskSource.h"
#include "helper/archive/GptTable.h"
#include "helper/archive/MergeOperation.h"
#include "helper/archive/PointCheck.h"
#include "helper/archive/SourcePlan.h"

namespace {

using Clock = std::chrono::steady_clock;

struct Failed {
  std::string why;
};

template <class T>
T valueOf(zpk::ArchiveResult<T> result) {
  if (!result) throw Failed{result.error().text()};
  return std::move(*result);
}

double secondsSince(Clock::time_point begin) {
  return std::chrono::duration<double>(Clock::now() - begin).count();
}

double seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

std::uint64_t numberOf(const char* text) {
  return std::strtoull(text, nullptr, 10);
}

zpk::BackupDisk diskOf(char** words) {
  zpk::StoredDisk disk;
  disk.size = std::filesystem::file_size(words[0]);
  const zpk::DiskSource source = valueOf(zpk::DiskSource::open(words[0]));
  const auto read = [&source](std::uint64_t offset, std::span<std::byte> bytes) {
    return source.read(offset, bytes);
  };
  const zpk::GptTable table = valueOf(zpk::readGptTable(read, disk.size, 512));
  disk.gptId = table.diskId;
  for (const zpk::GptEntry& entry : table.entries) {
    zpk::StoredPartition partition;
    partition.number = entry.number;
    partition.start = entry.start;
    partition.size = entry.size;
    partition.end = entry.start + entry.size - 1;
    partition.typeGuid = entry.type;
    const bool isStored = entry.start == numberOf(words[1]) && entry.size == numberOf(words[2]);
    if (isStored) partition.content = zpk::PartitionContent::Whole;
    disk.partitions.push_back(partition);
  }
  return {words[0], disk};
}

zpk::Archive archiveAt(const char* path) {
  if (std::filesystem::exists(path)) return valueOf(zpk::Archive::openForWriting(path));
  return valueOf(zpk::Archive::create(path, {"bench", "bench", 0}));
}

void backUp(bool isFull, char** words) {
  const auto begin = Clock::now();
  zpk::Archive archive = archiveAt(words[3]);
  const zpk::BackupRequest request{{diskOf(words)}, "bench", 0};
  double planned = 0;
  std::uint64_t used = 0;
  const auto progress = [&](std::uint64_t done, std::uint64_t total) {
    if (done == 0) planned = secondsSince(begin);
    used = total;
  };
  std::uint64_t stored = 0;
  if (isFull) {
    stored = valueOf(zpk::makeFullBackup(archive, request, progress, {})).disks[0].storedBytes;
  } else {
    stored = valueOf(zpk::makeBackup(archive, request, progress, {})).storedBytes;
  }
  std::printf("examining %.3f copying %.3f used %llu stored %llu ", planned, secondsSince(begin) - planned,
              static_cast<unsigned long long>(used), static_cast<unsigned long long>(stored));
}

void merge(const char* path) {
  zpk::Archive archive = archiveAt(path);
  valueOf(zpk::mergeIntoParent(archive, archive.index().points.size() - 1, [](auto, auto) {}, {}));
}

void check(const char* path) {
  const zpk::Archive archive = archiveAt(path);
  const auto found =
      valueOf(zpk::checkOwnImages(archive, archive.index().points.size() - 1, [](std::uint64_t) {}, {}));
  if (!found.damaged.empty()) throw Failed{"the point is damaged"};
}

// The yardstick of an increment: as many readers as keep the disk busy, each a MiB at a time, past the page cache;
// over small gaps, as two reads would take longer.
class Floor {
 public:
  explicit Floor(const zpk::SourcePlan& plan) : _plan(plan) {}

  void run() {
    std::vector<std::thread> readers;
    for (unsigned i = 0; i < std::thread::hardware_concurrency() + 6; ++i) readers.emplace_back([this] { read(); });
    for (std::thread& reader : readers) reader.join();
    if (_failed) throw Failed{"the disk could not be read"};
  }

 private:
  static constexpr std::uint64_t stretch = std::uint64_t{1} << 20;
  static constexpr std::uint64_t chunk = 16384;
  static constexpr std::uint64_t gap = 32768;

  void read() {
    zpk::AlignedBuffer memory(stretch);
    for (;;) {
      const std::uint64_t start = _next.fetch_add(stretch);
      if (start >= _plan.layout.diskSize()) return;
      if (!readUsed(start, std::min(start + stretch, _plan.layout.diskSize()), memory)) _failed = true;
    }
  }

  bool readUsed(std::uint64_t start, std::uint64_t limit, zpk::AlignedBuffer& memory) const {
    auto found = _plan.layout.next(start, limit);
    while (found) {
      zpk::ByteRange piece = *found;
      while ((found = _plan.layout.next(piece.end, limit)) && found->start - piece.end <= gap)
        piece.end = found->end;
      piece.start = zpk::roundDown(piece.start, chunk);
      piece.end = std::min(zpk::roundUp(piece.end, chunk), limit);
      const auto bytes = memory.bytes().subspan(piece.start - start, piece.size());
      if (!_plan.disk.read(piece.start, bytes)) return false;
      for (std::uint64_t at = 0; at < bytes.size(); at += chunk) {
        const auto part = bytes.subspan(at, std::min(chunk, bytes.size() - at));
        _sum.fetch_xor(XXH3_128bits(part.data(), part.size()).low64);
      }
    }
    return true;
  }

  const zpk::SourcePlan& _plan;
  std::atomic<std::uint64_t> _next{0};
  mutable std::atomic<std::uint64_t> _sum{0};  // So that the hashing is not left out.
  std::atomic<bool> _failed{false};
};

void floorOf(char** words) {
  const auto begin = Clock::now();
  const zpk::SourcePlan plan = valueOf(zpk::planSource(diskOf(words), "", {}));
  const double examined = secondsSince(begin);
  Floor(plan).run();
  std::printf("examining %.3f copying %.3f used %llu ", examined, secondsSince(begin) - examined,
              static_cast<unsigned long long>(plan.layout.usedBytes()));
}

bool run(const std::string& what, int count, char** words) {
  if ((what == "full" || what == "increment") && count == 4) {
    backUp(what == "full", words);
  } else if (what == "merge" && count == 1) {
    merge(words[0]);
  } else if (what == "check" && count == 1) {
    check(words[0]);
  } else if (what == "floor" && count == 3) {
    floorOf(words);
  } else {
    return false;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  const auto begin = Clock::now();
  try {
    if (argc < 2 || !run(argv[1], argc - 2, argv + 2)) {
      std::fprintf(stderr,
                   "usage: archive_bench full|increment DISK.img START SIZE ARCHIVE.rldbackup\n"
                   "       archive_bench merge|check ARCHIVE.rldbackup\n"
                   "       archive_bench floor DISK.img START SIZE\n");
      return 2;
    }
  } catch (const Failed& failed) {
    std::fprintf(stderr, "%s\n", failed.why.c_str());
    return 1;
  }
  rusage usage = {};
  getrusage(RUSAGE_SELF, &usage);
  std::printf("seconds %.3f processor %.2f peak-mb %ld\n", secondsSince(begin),
              seconds(usage.ru_utime) + seconds(usage.ru_stime), usage.ru_maxrss / 1024);
  return 0;
}
