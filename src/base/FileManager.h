#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Expected.h"
#include "base/Value.h"

namespace zpk {

// What kept a file operation from working: the path, and the system's reason in words.
struct FileError {
  std::string path;
  std::string reason;
};

// What `statfs` tells of the file system that holds a path.
struct FileSystemSpace {
  std::uint64_t blockSize = 0;        // bytes
  std::uint64_t availableBlocks = 0;  // to unprivileged users
  std::uint64_t totalBlocks = 0;      // used and free; 0 when the file system does not say

  std::uint64_t available() const { return blockSize * availableBlocks; }  // bytes, as is the next
  std::uint64_t total() const { return blockSize * totalBlocks; }
  bool operator==(const FileSystemSpace&) const = default;
};

// Files and folders by path. Any thread. Paths are absolute.
class FileManager {
 public:
  virtual ~FileManager() = default;

  virtual bool fileExists(std::string_view path) const = 0;
  // The whole file; an error when it is longer than `limit` bytes, not a plain file, or cannot be read.
  virtual Expected<Bytes, FileError> contentsOfFile(std::string_view path, std::uint64_t limit) const = 0;
  // Replaces the file's content so that a crash, a full disk or any error at any moment leaves either the old file
  // or the new one, whole; survives a power cut once it returned Done. Symbolic links are replaced, never followed.
  virtual Expected<Done, FileError> saveFile(std::string_view path, const Bytes& content) = 0;
  // Names in the folder, sorted, without "." and "..".
  virtual Expected<std::vector<std::string>, FileError> contentsOfDirectory(std::string_view path) const = 0;
  // Makes one folder with mode 0700; an error when something is there already.
  virtual Expected<Done, FileError> createDirectory(std::string_view path) = 0;
  // Makes the folder and every missing one on the way to it, with the permissions that the user's umask leaves.
  // Done also when it is there already; an error when something else is. What was made before an error stays.
  virtual Expected<Done, FileError> createDirectories(std::string_view path) = 0;
  // Copies a plain file to a path where nothing is yet.
  virtual Expected<Done, FileError> copyFile(std::string_view from, std::string_view to) = 0;
  // Takes a file away, or a symbolic link without what it leads to; an error when nothing is there, or a folder is.
  virtual Expected<Done, FileError> removeFile(std::string_view path) = 0;
  // Nothing when the query fails.
  virtual std::optional<FileSystemSpace> fileSystemSpace(std::string_view path) const = 0;
  // The user's home folder: what the environment says, else what the system's account says; "/" when neither says
  // anything. Without a slash at its end, but for "/" itself. Need not be there.
  virtual std::string homeDirectory() const = 0;
};

}  // namespace zpk
