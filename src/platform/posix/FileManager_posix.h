#pragma once

#include "base/FileManager.h"

namespace zpk {

// The file system under this process's own rights. No state; any thread.
//
// Plain files are opened without waiting, so that a pipe in a file's place is an error and not a hang.
class PosixFileManager final : public FileManager {
 public:
  bool fileExists(std::string_view path) const override;
  Expected<Bytes, FileError> contentsOfFile(std::string_view path, std::uint64_t limit) const override;
  // The file is readable by its owner alone.
  Expected<Done, FileError> saveFile(std::string_view path, const Bytes& content) override;
  Expected<std::vector<std::string>, FileError> contentsOfDirectory(std::string_view path) const override;
  Expected<Done, FileError> createDirectory(std::string_view path) override;
  Expected<Done, FileError> createDirectories(std::string_view path) override;
  // The copy has the permissions of the original, cut by the umask, and is as long as the original was when copying
  // began: a log may grow as fast as it is read. A copy that fails halfway is removed.
  Expected<Done, FileError> copyFile(std::string_view from, std::string_view to) override;
  Expected<Done, FileError> removeFile(std::string_view path) override;
  std::optional<FileSystemSpace> fileSystemSpace(std::string_view path) const override;
  // HOME when it is an absolute path, else the password entry's folder.
  std::string homeDirectory() const override;
};

}  // namespace zpk
