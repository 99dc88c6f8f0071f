#include "tools/launchctl/UnitFolder.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <span>
#include <system_error>

#include "platform/posix/AtomicSaver.h"
#include "platform/posix/FileManager_posix.h"
#include "tools/launchctl/SystemdUnits.h"

namespace zpk {

namespace {

constexpr std::uint64_t kMaxUnitBytes = std::uint64_t{1} << 20;
constexpr std::string_view kServiceSuffix = ".service";

}  // namespace

std::optional<std::string> UnitFolder::contents(std::string_view name) const {
  const auto bytes = PosixFileManager().contentsOfFile(pathOf(name), kMaxUnitBytes);
  if (!bytes) return std::nullopt;
  return std::string(bytes->begin(), bytes->end());
}

bool UnitFolder::isPathOf(std::string_view path, std::string_view name) const {
  std::error_code ignored;
  return path == pathOf(name) || std::filesystem::equivalent(path, pathOf(name), ignored);
}

std::vector<std::string> UnitFolder::labels() const {
  std::vector<std::string> found;
  const auto names = PosixFileManager().contentsOfDirectory(_path);
  if (!names) return found;
  for (const std::string& name : *names) {
    if (!name.ends_with(kServiceSuffix)) continue;
    const std::string label = name.substr(0, name.size() - kServiceSuffix.size());
    if (isSafeLabel(label) && isMadeHere(contents(name).value_or(""))) found.push_back(label);
  }
  return found;
}

Expected<Done, JobError> UnitFolder::save(std::string_view name, std::string_view text) const {
  std::error_code error;
  std::filesystem::create_directories(_path, error);
  if (error) return JobError{_path + ": " + error.message()};
  const std::vector<std::uint8_t> bytes(text.begin(), text.end());
  const auto saved = AtomicSaver::save(pathOf(name), bytes, 0644);
  if (!saved) return JobError{saved.error().path + ": " + saved.error().reason};
  return Done();
}

Expected<Done, JobError> UnitFolder::remove(std::string_view name) const {
  std::error_code error;
  std::filesystem::remove(pathOf(name), error);
  if (error) return JobError{pathOf(name) + ": " + error.message()};
  return Done();
}

}  // namespace zpk
