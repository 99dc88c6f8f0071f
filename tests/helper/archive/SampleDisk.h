#pragma once

#include <functional>
#include <string>

#include "helper/archive/BackupOperation.h"
#include "helper/archive/TestFiles.h"

namespace zpk::test {

// A raw image file of a GPT disk with an EFI partition, a macOS one, Microsoft Reserved and an NTFS volume that was
// filled through its driver and where files were deleted again.
//
// Making it needs FUSE; a test on a machine without fails.
class SampleDisk {
 public:
  static constexpr std::uint64_t mib = std::uint64_t{1} << 20;
  static constexpr std::uint64_t diskSize = 128 * mib;
  static constexpr std::uint64_t reservedStart = 24 * mib;
  static constexpr std::uint64_t reservedSize = 4 * mib;
  static constexpr std::uint64_t volumeStart = 28 * mib;
  static constexpr std::uint64_t volumeSize = 96 * mib;
  static constexpr const char* deletedText = "what was in the deleted file ";

  struct Fresh {};
  struct Bare {};

  explicit SampleDisk(const ScratchFolder& folder);
  // Made anew instead of copied.
  SampleDisk(const ScratchFolder& folder, Fresh);
  // With a volume that nothing was written to, which takes no FUSE and half the time.
  SampleDisk(const ScratchFolder& folder, Bare);

  const std::string& path() const { return _path; }
  // The Windows side: Microsoft Reserved and the volume. The EFI and the macOS partition are not stored.
  BackupRequest request() const { return requestFor(_path); }
  // The same for a disk of another process.
  static BackupRequest requestFor(const std::string& path);
  // What a point has to hold: the source where it is in use, zeros elsewhere. Found out without the code under
  // test.
  std::string expectedContent() const;

  // Changes the volume's content while it is mounted.
  void change(const std::function<void(const std::string& mountPoint)>& work) const;
  // The volume's own dirty mark.
  void markDirty() const;
  void overwrite(std::uint64_t offset, const std::string& bytes) const;

 private:
  void makeVolume() const;
  void insertVolume() const;

  const ScratchFolder& _folder;
  std::string _path;
  std::string _volume;
};

}  // namespace zpk::test
