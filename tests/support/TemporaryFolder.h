#pragma once

#include <stdlib.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace zpk {

// A folder of the test's own, removed with everything in it.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "zpk-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
    _path = pattern;
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::permissions(_path, std::filesystem::perms::owner_all, ignored);
    std::filesystem::remove_all(_path, ignored);
  }

  const std::string& path() const { return _path; }
  std::string path(std::string_view name) const { return _path + "/" + std::string(name); }

  // Writes a file the plain way.
  void put(std::string_view name, std::string_view content) const {
    std::ofstream(path(name), std::ios::binary) << content;
  }
  // A file's content; the text "(no file)" when it cannot be read.
  std::string get(std::string_view name) const {
    std::ifstream file(path(name), std::ios::binary);
    if (!file) return "(no file)";
    return {std::istreambuf_iterator<char>(file), {}};
  }
  // Names of everything in the folder, in no order.
  std::vector<std::string> names() const {
    std::vector<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator(_path)) found.push_back(entry.path().filename());
    return found;
  }

 private:
  std::string _path;
};

}  // namespace zpk
