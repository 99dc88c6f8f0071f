#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "helper/archive/GptTable.h"
#include "helper/archive/RestoreOperation.h"
#include "helper/archive/SampleDisk.h"

namespace zpk::test {

// A disk image that is changed behind everybody's back.
class DiskFile {
 public:
  explicit DiskFile(std::string path) : _path(std::move(path)) {}
  void overwrite(std::uint64_t offset, const std::string& bytes) const;

 private:
  std::string _path;
};

std::string bytesAt(const std::string& path, std::uint64_t offset, std::uint64_t size);

// A backup of the disk as the helper describes it, with the types that a restore needs.
BackupRequest describedRequest(const SampleDisk& disk);

// An archive with a full point and an increment, what the disk held at each moment, and disks to restore onto whose
// every byte is something else before. The archive is made once and only read.
class RestoreWorld : public testing::Test {
 public:
  static constexpr std::uint64_t mib = SampleDisk::mib;
  static constexpr std::size_t points = 2;

  // One entry of a target's table.
  struct Entry {
    std::uint64_t start = 0;
    std::uint64_t size = 0;
    std::string type;
  };
  static inline const std::string efi = "C12A7328-F81F-11D2-BA4B-00A0C93EC93B";
  static inline const std::string mac = "48465300-0000-11AA-AA11-00306543ECAC";
  static inline const std::string basicData = "EBD0A0A2-B9E5-4433-87C0-68B6B72699C7";

 protected:
  RestoreWorld();

  // Makes the image file "target.img": full of bytes that are in no backup, then the table.
  void makeTarget(std::uint64_t size, const std::vector<Entry>& entries);
  // What lies at `targetPath` is the target.
  void takeAsTarget();
  // EFI, macOS and a Windows partition of that size.
  void makeBootCampTarget(std::uint64_t windowsSize);
  // EFI and macOS, and that much behind them.
  void makeMacTarget(std::uint64_t freeSpace);

  Expected<RestoredPoint, RestoreFailure> restore();
  // "good", or the reason; fails the test when the target was touched although it was refused, or not.
  std::string refusal();

  // The restored volume is sound for the tools, has the files of that moment, and its boot sector is right for its
  // place.
  void expectWindows(ByteRange place, std::size_t moment);
  // The bytes of the target are what they were before the restore.
  void expectUntouched(ByteRange range) const;
  void expectSoundTable() const;
  GptTable table() const { return tableOf(targetPath); }
  static GptTable tableOf(const std::string& path);

  // The disk that the archive is of, as it was when the newest point was made.
  static std::string sourcePath();
  static GptTable storedTable();
  static Archive archive();
  static std::string archiveFolder();
  // When which of the archive's files was changed the last time, to see that none is.
  static std::string archiveState();
  // Targets are large and written durably, which costs nothing in memory.
  static std::filesystem::path quickFolder();

  ScratchFolder folder{quickFolder()};
  std::string targetPath = folder / "target.img";
  std::string before;  // The target as it was.
  RestoreRequest request;
  CancelFlag cancel;
  std::vector<std::string> said;
  std::function<void(std::uint64_t, std::uint64_t)> onProgress;
  std::uint64_t lastDone = 0;
  std::uint64_t lastTotal = 0;
};

}  // namespace zpk::test
