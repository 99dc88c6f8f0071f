// A single bit that an archive's medium loses: it is found, or nobody needs it; never is anything read that is
// wrong.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <iostream>

#include "helper/archive/PointCheck.h"
#include "helper/archive/PointDisk.h"
#include "helper/archive/SmallArchive.h"
#include "helper/archive/UnneededBits.h"
#include "support/Rounds.h"

namespace zpk {
namespace {

namespace fs = std::filesystem;
using test::SmallArchive;

std::size_t flips() {
  return test::rounds("ZPK_FLIPS", 120);
}

enum class Finding { Damage, Nothing, WrongContent };

class BitRot : public testing::Test {
 protected:
  BitRot() {
    const ArchiveResult<Archive> archive = Archive::openForReading(path());
    _index = archive->index();
    for (std::size_t i = 0; i < _index.points.size(); ++i) _points.push_back(*archive->readPoint(i));
    for (const auto& entry : fs::recursive_directory_iterator(path())) {
      if (entry.is_regular_file() && entry.file_size() > 0) files.push_back(entry.path());
    }
    std::ranges::sort(files);
  }
  std::string path() const { return folder / "a.rldbackup"; }

  // What whoever restores finds.
  Finding readAll() const {
    const ArchiveResult<Archive> archive = Archive::openForReading(path());
    if (!archive) return Finding::Damage;
    if (archive->index() != _index) return Finding::WrongContent;
    for (std::size_t i = 0; i < _points.size(); ++i) {
      const ArchiveResult<PointIndex> point = archive->readPoint(i);
      if (!point) return Finding::Damage;
      if (*point != _points[i]) return Finding::WrongContent;
      const Finding content = readDisk(*archive, i);
      if (content != Finding::Nothing) return content;
    }
    return Finding::Nothing;
  }
  // What the check of the archive finds.
  bool isFoundByCheck() const {
    const ArchiveResult<Archive> archive = Archive::openForReading(path());
    if (!archive) return true;
    for (std::size_t i = 0; i < _points.size(); ++i) {
      const ArchiveResult<PointCheck> check = checkOwnImages(*archive, i, [](std::uint64_t) {}, {});
      if (!check || !check->damaged.empty()) return true;
    }
    return false;
  }

  static void flip(const std::string& file, std::uint64_t bit) {
    std::fstream stream(file, std::ios::in | std::ios::out | std::ios::binary);
    stream.seekg(static_cast<std::streamoff>(bit / 8));
    const auto byte = static_cast<unsigned>(stream.get());
    stream.seekp(static_cast<std::streamoff>(bit / 8));
    stream.put(static_cast<char>(byte ^ 1U << bit % 8));
    ASSERT_TRUE(stream.good());
  }

  test::ScratchFolder folder{fs::is_directory("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path()};
  SmallArchive small{folder / "a.rldbackup", 3, 1, 7};
  std::vector<std::string> files;

 private:
  Finding readDisk(const Archive& archive, std::size_t point) const {
    ArchiveResult<PointDisk> disk = PointDisk::open(archive, point, 0);
    if (!disk) return Finding::Damage;
    const test::DiskContent& expected = small.moments().at(_index.points[point])[0];
    ByteBuffer read(SmallArchive::clusterSize);
    for (std::uint64_t cluster = 0; cluster < SmallArchive::clusterCount; ++cluster) {
      // Beyond the clusters that any point can have, one in a while will do.
      if (cluster % 2048 > 20 && cluster % 97 != 0) continue;
      if (!disk->read(cluster * read.size(), read)) return Finding::Damage;
      const auto found = expected.find(cluster);
      if (found == expected.end() ? !isAllZero(read) : read != found->second) return Finding::WrongContent;
    }
    return Finding::Nothing;
  }

  ArchiveIndex _index;
  std::vector<PointIndex> _points;
};

TEST_F(BitRot, IsFoundOrHarmlessAtEveryPlaceOfEveryFile) {
  std::mt19937_64 random(5);
  std::map<std::string, std::array<std::size_t, 2>> counts;  // By the file's kind: found, harmless.
  std::map<std::string, test::UnneededBits> unneeded;
  for (const std::string& file : files) unneeded.emplace(file, file);
  std::size_t found = 0;
  for (std::size_t i = 0; i < flips() && !HasFailure(); ++i) {
    const std::string& file = files[random() % files.size()];
    const std::uint64_t size = fs::file_size(file);
    // Half of them where an image's tables are: behind its content, and in its header.
    const std::uint64_t tables = std::min<std::uint64_t>(size, 100'000);
    const std::uint64_t byte = i % 4 == 0   ? random() % std::min<std::uint64_t>(size, 512)
                               : i % 4 == 1 ? size - 1 - random() % tables
                                            : random() % size;
    const std::uint64_t bit = byte * 8 + random() % 8;
    SCOPED_TRACE(file + ": bit " + std::to_string(bit));
    flip(file, bit);
    const Finding finding = readAll();
    EXPECT_NE(finding, Finding::WrongContent);
    // The check also minds what the field's tools would read, and our own readers know from the map to be zeros.
    const bool isFound = isFoundByCheck();
    EXPECT_TRUE(isFound || finding == Finding::Nothing) << "only whoever restores comes upon it";
    EXPECT_TRUE(isFound || unneeded.at(file).contains(bit)) << "nobody comes upon it, and it is not nothing";
    flip(file, bit);
    found += isFound;
    ++counts[fs::path(file).filename()][isFound ? 0 : 1];
  }
  EXPECT_EQ(readAll(), Finding::Nothing) << "the flips were not taken back";
  EXPECT_GT(found, flips() / 4) << "the flips did nothing";
  for (const auto& [name, count] : counts) {
    std::cout << name << ": " << count[0] << " found, " << count[1] << " harmless\n";
  }
}

}  // namespace
}  // namespace zpk
