#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "helper/archive/BackupOperation.h"
#include "helper/archive/SampleDisk.h"

namespace zpk::test {

// A sample disk and an archive with one full point of it.
class PointsWorld : public testing::Test {
 protected:
  static constexpr const char* qemuImg = "/usr/bin/qemu-img";

  PointsWorld() { makePoint(); }

  static Archive create(const std::string& path) {
    ArchiveResult<Archive> made = Archive::create(path, {"disk-id", "Sample", 1});
    EXPECT_TRUE(made.hasValue()) << (made ? "" : made.error().text());
    return std::move(*made);
  }

  ArchiveResult<MadePoint> backUp(BackupRequest request) {
    whyFull.clear();
    request.becomesFull = [this](const std::string& why) { whyFull = why; };
    return makeBackup(
        archive, request, [](std::uint64_t, std::uint64_t) {}, cancel);
  }
  MadePoint makePoint() {
    ArchiveResult<MadePoint> point = backUp(disk.request());
    EXPECT_TRUE(point.hasValue()) << (point ? "" : point.error().text());
    return point ? std::move(*point) : MadePoint{};
  }

  std::string filePath(std::size_t point, const std::string& name) const {
    return archive.path() + "/" + archive.index().points.at(point) + "/" + name;
  }
  std::string imagePath(std::size_t point) const { return filePath(point, "disk0.pvhd"); }
  // The point as the field's own tool reads it, from a sound image.
  std::string contentOf(std::size_t point) const {
    mustRun(qemuImg, {"check", "-q", "-f", "qcow2", imagePath(point)});
    mustRun(qemuImg, {"convert", "-f", "qcow2", "-O", "raw", imagePath(point), folder / "back.raw"});
    return readAll(folder / "back.raw");
  }

  void changeSomeFiles(unsigned round = 0) const {
    disk.change([round](const std::string& root) {
      const ByteBuffer bytes = randomBytes(700'000, 100 + round);
      writeAll(root + "/Users/new" + std::to_string(round),
               {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
      writeAll(root + "/Windows/System32/file3", "changed in round " + std::to_string(round));
      std::filesystem::remove(root + "/Windows/System32/file" + std::to_string(151 + 2 * round));
      std::filesystem::remove(root + "/Users/new" + std::to_string(round - 2));
    });
  }

  ScratchFolder folder;
  SampleDisk disk{folder};
  CancelFlag cancel;
  Archive archive = create(folder / "a.rldbackup");
  std::string whyFull;
};

}  // namespace zpk::test
