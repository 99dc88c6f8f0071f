// Makes one full backup point of a raw disk image in a new archive and prints what it cost.
//
//   full_backup DISK.img START SIZE ARCHIVE.rldbackup
//
// START and SIZE are the bytes of the one partition to store.

#include <sys/resource.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "helper/archive/BackupOperation.h"

namespace {

zpk::BackupRequest requestFor(const char* path, std::uint64_t start, std::uint64_t size) {
  zpk::StoredDisk disk;
  disk.size = std::filesystem::file_size(path);
  zpk::StoredPartition partition;
  partition.number = 1;
  partition.start = start;
  partition.size = size;
  partition.end = start + size - 1;
  partition.content = zpk::PartitionContent::Whole;
  disk.partitions = {partition};
  return {{{path, disk}}, "bench", 0};
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) {
    std::fprintf(stderr, "usage: full_backup DISK.img START SIZE ARCHIVE.rldbackup\n");
    return 2;
  }
  const std::uint64_t start = std::strtoull(argv[2], nullptr, 10);
  const std::uint64_t size = std::strtoull(argv[3], nullptr, 10);
  const auto begin = std::chrono::steady_clock::now();
  zpk::ArchiveResult<zpk::Archive> archive = zpk::Archive::create(argv[4], {"bench", "bench", 0});
  if (!archive) {
    std::fprintf(stderr, "%s\n", archive.error().text().c_str());
    return 1;
  }
  const zpk::CancelFlag never;
  std::chrono::steady_clock::time_point planned;
  const auto point = zpk::makeFullBackup(
      *archive, requestFor(argv[1], start, size),
      [&planned](std::uint64_t done, std::uint64_t) {
        if (done == 0) planned = std::chrono::steady_clock::now();
      },
      never);
  if (!point) {
    std::fprintf(stderr, "%s\n", point.error().text().c_str());
    return 1;
  }
  const auto end = std::chrono::steady_clock::now();
  rusage usage = {};
  getrusage(RUSAGE_SELF, &usage);
  std::printf("seconds %.2f checking %.2f processor %.2f peak-mb %ld\n",
              std::chrono::duration<double>(end - begin).count(),
              std::chrono::duration<double>(planned - begin).count(),
              static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
                  static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6,
              usage.ru_maxrss / 1024);
  return 0;
}
