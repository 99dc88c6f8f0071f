#include "tools/launchctl/UnitFolder.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <set>
#include <span>
#include <system_error>

#include "platform/posix/AtomicSaver.h"
#include "platform/posix/FileManager_posix.h"
#include "tools/launchctl/SystemdUnits.h"

namespace zpk {

namespace {

constexpr std::uint64_t kMaxUnitBytes = std::uint64_t{1} << 20;

// The label of the job whose unit has that name; nothing for any other name.
std::optional<std::string> labelOf(const std::string& unit) {
  for (const std::string_view suffix : {".service", ".timer"}) {
    if (!unit.ends_with(suffix)) continue;
    std::string label = unit.substr(0, unit.size() - suffix.size());
    if (isSafeLabel(label)) return label;
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::string> UnitFolder::contents(std::string_view name) const {
  const auto bytes = PosixFileManager().contentsOfFile(pathOf(name), kMaxUnitBytes);
  if (!bytes) return std::nullopt;
  return std::string(bytes->begin(), bytes->end());
}

bool UnitFolder::isPathOf(std::string_view path, std::string_view name) const {
  const std::filesystem::path file(path);
  std::error_code ignored;
  return path == pathOf(name) ||
         (file.filename() == name && std::filesystem::equivalent(file.parent_path(), _path, ignored)) ||
         std::filesystem::equivalent(file, pathOf(name), ignored);
}

template <class Predicate>
std::vector<std::string> UnitFolder::labelsOfUnits(Predicate isWanted) const {
  const auto names = PosixFileManager().contentsOfDirectory(_path);
  if (!names) return {};
  std::set<std::string> found;
  for (const std::string& name : *names) {
    const auto label = labelOf(name);
    if (label && isWanted(contents(name).value_or(""))) found.insert(*label);
  }
  return {found.begin(), found.end()};
}

std::vector<std::string> UnitFolder::labels() const {
  return labelsOfUnits(isMadeHere);
}

std::vector<std::string> UnitFolder::labelsMadeFrom(std::string_view plist) const {
  return labelsOfUnits([plist](std::string_view text) { return isMadeFrom(text, plist); });
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
