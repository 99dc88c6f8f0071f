#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "helper/archive/FileAccess.h"
#include "helper/process/ToolRunner.h"

namespace zpk::test {

// A folder of one test, removed at its end.
class ScratchFolder {
 public:
  ScratchFolder() : ScratchFolder(std::filesystem::temp_directory_path()) {}
  explicit ScratchFolder(const std::filesystem::path& parent) {
    std::string pattern = (parent / "zpk-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) ADD_FAILURE() << "no scratch folder";
    _path = pattern;
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  ~ScratchFolder() { std::filesystem::remove_all(_path); }

  std::string path() const { return _path.string(); }
  std::string operator/(const std::string& name) const { return (_path / name).string(); }

 private:
  std::filesystem::path _path;
};

inline OpenFile createFile(const ScratchFolder& folder, const std::string& name) {
  ArchiveResult<OpenFile> open = openFolder(folder.path());
  EXPECT_TRUE(open.hasValue());
  ArchiveResult<OpenFile> file = createIn(*open, name);
  EXPECT_TRUE(file.hasValue());
  return std::move(*file);
}

inline OpenFile openFile(const ScratchFolder& folder, const std::string& name) {
  ArchiveResult<OpenFile> open = openFolder(folder.path());
  EXPECT_TRUE(open.hasValue());
  ArchiveResult<OpenFile> file = openIn(*open, name);
  EXPECT_TRUE(file.hasValue());
  return std::move(*file);
}

inline std::string readAll(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(path, error);
  std::string text(error ? 0 : size, '\0');
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  text.resize(file.gcount() > 0 ? static_cast<std::size_t>(file.gcount()) : 0);
  return text;
}

inline void writeAll(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

inline ByteBuffer randomBytes(std::size_t size, unsigned seed) {
  std::mt19937_64 random(seed);
  ByteBuffer bytes(size);
  for (std::byte& byte : bytes) byte = static_cast<std::byte>(random() >> 32U & 0xFFU);
  return bytes;
}

// Runs a tool that has to succeed and gives what it printed.
inline std::string mustRun(const std::string& executable, const std::vector<std::string>& arguments) {
  const CancelFlag never;
  ToolCommand command{executable, arguments, {}, ToolAccess::ReadsAndWrites, {}};
  command.limits.memoryBytes = std::uint64_t{4} << 30U;
  command.limits.outputBytes = std::size_t{64} << 20U;
  const auto result = runTool(command, never);
  EXPECT_TRUE(result.hasValue()) << (result ? "" : result.error().text());
  if (!result) return {};
  EXPECT_TRUE(result->succeeded()) << executable << ": " << result->status << "\n"
                                   << result->output << result->errors;
  return result->output;
}

}  // namespace zpk::test
