#pragma once

#include <iterator>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/FileManager.h"

namespace zpk {

// Files and folders in memory; "/" is there. Any thread.
//
//   files.addFolder("/tmp");
//   files.add("/tmp/a", "content");
//   files.setHomeDirectory("/home/user");  // as it is anyway; not made
//   files.failAt("/tmp/b", "No space left on device");  // whatever is asked of that path
class MemoryFileManager final : public FileManager {
 public:
  void add(const std::string& path, std::string_view content) {
    const std::lock_guard lock(_mutex);
    _files[path] = Bytes(content.begin(), content.end());
  }
  void addFolder(const std::string& path) {
    const std::lock_guard lock(_mutex);
    _folders.insert(path);
  }
  // Nothing: it cannot be had (any more).
  void setSpace(const std::string& path, std::optional<FileSystemSpace> space) {
    const std::lock_guard lock(_mutex);
    _spaces[path] = space;
  }
  void failAt(const std::string& path, const std::string& reason) {
    const std::lock_guard lock(_mutex);
    _failures[path] = reason;
  }
  void setHomeDirectory(const std::string& path) {
    const std::lock_guard lock(_mutex);
    _home = path;
  }
  // The text "(no file)" when there is none.
  std::string content(std::string_view path) const {
    const std::lock_guard lock(_mutex);
    const auto file = _files.find(path);
    return file == _files.end() ? "(no file)" : std::string(file->second.begin(), file->second.end());
  }

  bool fileExists(std::string_view path) const override {
    const std::lock_guard lock(_mutex);
    return exists(path);
  }

  Expected<Bytes, FileError> contentsOfFile(std::string_view path, std::uint64_t limit) const override {
    const std::lock_guard lock(_mutex);
    return read(path, limit);
  }

  Expected<Done, FileError> saveFile(std::string_view path, const Bytes& content) override {
    const std::lock_guard lock(_mutex);
    if (const auto failure = failureOfMaking(path)) return *failure;
    if (_folders.contains(path)) return error(path, "Is a directory");
    _files[std::string(path)] = content;
    return Done{};
  }

  Expected<std::vector<std::string>, FileError> contentsOfDirectory(std::string_view path) const override {
    const std::lock_guard lock(_mutex);
    if (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
    if (const auto failure = failureAt(path)) return *failure;
    if (!_folders.contains(path)) return error(path, _files.contains(path) ? "Not a directory" : kMissing);
    std::set<std::string> names;
    for (const auto& [file, content] : _files) {
      if (folderOf(file) == path) names.insert(nameOf(file));
    }
    for (const std::string& folder : _folders) {
      if (folder != "/" && folderOf(folder) == path) names.insert(nameOf(folder));
    }
    return std::vector<std::string>(names.begin(), names.end());
  }

  Expected<Done, FileError> createDirectory(std::string_view path) override {
    const std::lock_guard lock(_mutex);
    if (const auto failure = failureOfMaking(path)) return *failure;
    if (exists(path)) return error(path, kThere);
    _folders.emplace(path);
    return Done{};
  }

  Expected<Done, FileError> createDirectories(std::string_view path) override {
    const std::lock_guard lock(_mutex);
    for (std::size_t end = 0; end != std::string_view::npos;) {
      end = path.find('/', end + 1);
      const std::string_view folder = path.substr(0, end);
      if (_folders.contains(folder)) continue;
      if (const auto failure = failureAt(folder)) return *failure;
      if (_files.contains(folder)) return error(folder, kThere);
      _folders.emplace(folder);
    }
    return Done{};
  }

  Expected<Done, FileError> copyFile(std::string_view from, std::string_view to) override {
    const std::lock_guard lock(_mutex);
    const Expected<Bytes, FileError> content = read(from, UINT64_MAX);
    if (!content) return content.error();
    if (const auto failure = failureOfMaking(to)) return *failure;
    if (exists(to)) return error(to, kThere);
    _files[std::string(to)] = *content;
    return Done{};
  }

  Expected<Done, FileError> removeFile(std::string_view path) override {
    const std::lock_guard lock(_mutex);
    if (const auto failure = failureAt(path)) return *failure;
    if (_folders.contains(path)) return error(path, "Is a directory");
    const auto file = _files.find(path);
    if (file == _files.end()) return error(path, kMissing);
    _files.erase(file);
    return Done{};
  }

  std::optional<FileSystemSpace> fileSystemSpace(std::string_view path) const override {
    const std::lock_guard lock(_mutex);
    const auto space = _spaces.find(path);
    return space == _spaces.end() ? std::nullopt : space->second;
  }

  std::string homeDirectory() const override {
    const std::lock_guard lock(_mutex);
    return _home;
  }

 private:
  static constexpr std::string_view kMissing = "No such file or directory";
  static constexpr std::string_view kThere = "File exists";

  static FileError error(std::string_view path, std::string_view reason) {
    return {std::string(path), std::string(reason)};
  }
  static std::string folderOf(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return slash == 0 || slash == std::string_view::npos ? "/" : std::string(path.substr(0, slash));
  }
  static std::string nameOf(std::string_view path) { return std::string(path.substr(path.rfind('/') + 1)); }

  bool exists(std::string_view path) const { return _files.contains(path) || _folders.contains(path); }

  std::optional<FileError> failureAt(std::string_view path) const {
    const auto failure = _failures.find(path);
    return failure == _failures.end() ? std::nullopt : std::optional(error(path, failure->second));
  }
  std::optional<FileError> failureOfMaking(std::string_view path) const {
    if (auto failure = failureAt(path)) return failure;
    return _folders.contains(folderOf(path)) ? std::nullopt : std::optional(error(path, kMissing));
  }

  Expected<Bytes, FileError> read(std::string_view path, std::uint64_t limit) const {
    if (const auto failure = failureAt(path)) return *failure;
    if (_folders.contains(path)) return error(path, "Not a plain file");
    const auto file = _files.find(path);
    if (file == _files.end()) return error(path, kMissing);
    if (file->second.size() > limit) return error(path, "Longer than " + std::to_string(limit) + " bytes");
    return file->second;
  }

  mutable std::mutex _mutex;
  std::string _home = "/home/user";
  std::map<std::string, Bytes, std::less<>> _files;
  std::set<std::string, std::less<>> _folders{"/"};
  std::map<std::string, std::optional<FileSystemSpace>, std::less<>> _spaces;
  std::map<std::string, std::string, std::less<>> _failures;
};

}  // namespace zpk
