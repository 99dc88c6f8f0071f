#include <gtest/gtest.h>

#include <fstream>
#include <random>

#include "helper/disks/DiskTestSupport.h"
#include "support/TemporaryFolder.h"

namespace zpk {
namespace {

using namespace disktest;

constexpr std::size_t margin = std::size_t{1} << 20;

// An image whose first and last mebibyte are damaged anew again and again.
class DamagedImage {
 public:
  explicit DamagedImage(const std::string& original) : _path(_folder.path("damaged.img")) {
    outputOf("cp --sparse=always '" + original + "' '" + _path + "'");
    _file.open(_path, std::ios::in | std::ios::out | std::ios::binary);
    _head.resize(margin);
    _tail.resize(margin);
    _file.read(_head.data(), static_cast<std::streamsize>(margin));
    _file.seekg(-static_cast<std::streamoff>(margin), std::ios::end);
    _tailStart = _file.tellg();
    _file.read(_tail.data(), static_cast<std::streamsize>(margin));
  }

  // Most of a table lies in a few sectors, so most of the damage goes there.
  void damage(std::mt19937& chance) {
    std::string head = _head;
    std::string tail = _tail;
    for (unsigned change = 0; change < 1 + chance() % 6; ++change) {
      std::string& part = chance() % 2 ? head : tail;
      const std::size_t span = chance() % 4 ? 4096 : margin;
      const std::size_t at = chance() % span;
      part[&part == &head ? at : margin - 1 - at] = static_cast<char>(chance());
    }
    write(0, head);
    write(_tailStart, tail);
    _file.flush();
  }

  std::string folder() const { return _folder.path(); }

 private:
  void write(std::streamoff at, const std::string& bytes) {
    _file.seekp(at).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  }

  TemporaryFolder _folder;
  std::string _path;
  std::fstream _file;
  std::string _head, _tail;
  std::streamoff _tailStart = 0;
};

void checkSanity(const ZPKDisk& disk) {
  EXPECT_LE(disk.diskMinSize(), disk.diskSize());
  for (const auto& partition : disk.partitions()) {
    if (partition->partType() == 0) continue;
    EXPECT_LT(partition->partEnd(), disk.diskSize());
    EXPECT_EQ(partition->partEnd() - partition->partStart() + 1, partition->partSize());
    EXPECT_LE(partition->partMinSize(), partition->partMaxSize());
    EXPECT_LE(partition->partUsedSize(), partition->partSize());
  }
}

TEST(DiskCorruption, DamagedTablesGiveADiskOrALineAndNeverACrash) {
  std::mt19937 chance(2023);
  int offered = 0;
  int refused = 0;
  for (const char* name : {"plain-windows.img", "hybrid.img", "mbr-only.img"}) {
    DamagedImage image(oddImage(name));
    RecordingLog log;
    DiskScanner scanner(scannerOptions({image.folder()}), log);
    for (int round = 0; round < 100; ++round) {
      image.damage(chance);
      log.clear();
      const auto disks = scanOnce(scanner);
      for (const auto& disk : disks) {
        checkSanity(*disk);
        // What has content must never look like a disk that may be used as a whole.
        EXPECT_FALSE(disk->isEmpty()) << name << " round " << round;
      }
      offered += !disks.empty();
      refused += disks.empty();
      EXPECT_FALSE(hasLineWith(log, "crashed")) << name << " round " << round;
    }
  }
  EXPECT_GT(offered, 30);
  EXPECT_GT(refused, 30);
}

}  // namespace
}  // namespace zpk
