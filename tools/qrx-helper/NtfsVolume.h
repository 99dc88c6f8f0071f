#pragma once

#include <sys/stat.h>
#include <sys/statvfs.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

#include "base/Expected.h"

namespace zpk {

// Where a volume's bytes come from. `read` fills all of `bytes`, or answers false: an input/output error.
struct VolumeBytes {
  std::uint64_t size = 0;
  std::uint32_t sectorSize = 512;
  std::function<bool(std::uint64_t offset, std::span<std::byte> bytes)> read;
};

// An errno.
struct VolumeError {
  int number = 0;
};

// The files of an NTFS volume, to look at and never to change: nothing is ever written, the volume's own journal is
// not replayed.
//
// Paths are absolute in the volume, UTF-8, with "/" between names ("/Users/Ada/a.txt"). The volume's metadata files
// are not shown. What cannot be read as a plain file (a link, a file kept elsewhere by a Windows service) is a
// symbolic link; its target is a text that leads nowhere when there is none to follow.
//
// One thread. Libraries for file systems trust what they read more than they should: use it in a process of its
// own.
class NtfsVolume {
 public:
  static Expected<std::unique_ptr<NtfsVolume>, VolumeError> open(VolumeBytes bytes);
  ~NtfsVolume();
  NtfsVolume(const NtfsVolume&) = delete;
  NtfsVolume& operator=(const NtfsVolume&) = delete;

  // The volume's name as Windows shows it; may be empty.
  std::string label() const;
  struct statvfs space() const;

  // Everything belongs to the calling user, who may read it.
  Expected<struct stat, VolumeError> attributes(const std::string& path) const;
  // `name` is told each name but "." and ".."; false ends the listing.
  Expected<Done, VolumeError> list(const std::string& path, const std::function<bool(const std::string&)>& name);
  // `mountPoint` is where the volume's root is seen, for links that say it.
  Expected<std::string, VolumeError> linkTarget(const std::string& path, const std::string& mountPoint);

  // An open file. Ends before the volume does.
  class File {
   public:
    virtual ~File() = default;
    // How many bytes were read; less than asked for at the end of the file alone.
    virtual Expected<std::size_t, VolumeError> read(std::uint64_t offset, std::span<char> bytes) = 0;
  };
  Expected<std::unique_ptr<File>, VolumeError> openFile(const std::string& path);

 private:
  struct Library;
  explicit NtfsVolume(std::unique_ptr<Library> library);

  std::unique_ptr<Library> _library;
};

}  // namespace zpk
