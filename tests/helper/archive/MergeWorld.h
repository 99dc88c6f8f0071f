#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "helper/archive/MergeOperation.h"
#include "helper/archive/PointsWorld.h"

namespace zpk::test {

// An archive with a full point and three increments, and what the disk held at each moment. Making them takes
// seconds: it is done once, and every test has a copy.
class MergeWorld : public testing::Test {
 protected:
  static constexpr std::size_t points = 4;

  MergeWorld() {
    mustRun("/bin/cp", {"-a", origin().path(), folder.path()});
    for (std::size_t i = 0; i < points; ++i) moments.push_back(origin().moment(i));
  }

  static std::string newestMoment() { return origin().moment(points - 1); }
  static BackupRequest request() { return SampleDisk::requestFor(origin().disk.path()); }

  std::string path() const { return folder / "a.rldbackup"; }
  Archive open() const {
    ArchiveResult<Archive> archive = Archive::openForWriting(path());
    EXPECT_TRUE(archive.hasValue()) << (archive ? "" : archive.error().text());
    return std::move(*archive);
  }
  static std::string imagePath(const Archive& archive, std::size_t point) {
    return archive.path() + "/" + archive.index().points.at(point) + "/disk0.pvhd";
  }
  static void ignoreProgress(std::uint64_t, std::uint64_t) {}

  // A cluster that did not shrink lies in the file as it is: only the hashes know its content.
  static void damage(const Archive& archive, std::size_t point) {
    const std::string image = imagePath(archive, point);
    const std::string place = mustRun("/bin/sh", {"-c", "/usr/bin/qemu-img map --output=json '" + image +
                                                            "' | /bin/grep -m1 '\"depth\": 0.*\"offset\"' | "
                                                            "/bin/sed 's/.*\"offset\": \\([0-9]*\\).*/\\1/'"});
    ASSERT_FALSE(place.empty());
    std::fstream file(image, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(std::stol(place));
    file << std::string(2000, 'x');
  }

  // Every image is sound, and every point reads as the disk was at its moment.
  void expectMoments(const Archive& archive) const {
    ASSERT_EQ(archive.index().points.size(), moments.size());
    for (std::size_t i = 0; i < moments.size(); ++i) {
      const std::string image = imagePath(archive, i);
      mustRun("/usr/bin/qemu-img", {"check", "-q", "-f", "qcow2", image});
      mustRun("/usr/bin/qemu-img", {"compare", "-q", "-f", "qcow2", "-F", "raw", image, moments[i]});
    }
  }

  ScratchFolder folder;
  std::vector<std::string> moments;  // Files with what each point has to read as.

 private:
  struct Origin {
    ScratchFolder folder;
    SampleDisk disk{folder};

    Origin() {
      ArchiveResult<Archive> archive = Archive::create(path(), {"disk-id", "Sample", 1});
      for (unsigned i = 0; i < points; ++i) {
        if (i > 0) change(i);
        const auto made = makeBackup(*archive, disk.request(), ignoreProgress, {});
        EXPECT_TRUE(made.hasValue()) << (made ? "" : made.error().text());
        writeAll(moment(i), disk.expectedContent());
        mustRun("/usr/bin/fallocate", {"-d", moment(i)});
      }
    }
    std::string path() const { return folder / "a.rldbackup"; }
    std::string moment(std::size_t point) const { return folder / ("moment" + std::to_string(point)); }

    // Files come, change and go, so that the same places are written in more than one round and become free again.
    void change(unsigned round) const {
      disk.change([round](const std::string& root) {
        const ByteBuffer bytes = randomBytes(700'000, 100 + round);
        writeAll(root + "/Users/new" + std::to_string(round),
                 {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
        writeAll(root + "/Windows/System32/file3", "changed in round " + std::to_string(round));
        std::filesystem::remove(root + "/Windows/System32/file" + std::to_string(151 + 2 * round));
        std::filesystem::remove(root + "/Users/new" + std::to_string(round - 2));
      });
    }
  };
  static const Origin& origin() {
    static const Origin made;
    return made;
  }
};

}  // namespace zpk::test
