#include "helper/archive/ArchiveIndex.h"

#include <algorithm>
#include <cstdlib>
#include <set>

#include "helper/archive/JsonFields.h"
#include "helper/archive/PointIndex.h"

namespace zpk {
namespace {

using nlohmann::json;

constexpr const char* formatName = "rldbackup";
constexpr std::size_t mostPoints = 100'000;
constexpr std::size_t mostTables = 64;
constexpr std::size_t idDigits = 32;
constexpr std::size_t shortIdDigits = 8;
constexpr std::size_t mostNumberDigits = 9;

bool isDigit(char character) {
  return character >= '0' && character <= '9';
}
bool isHexadecimal(char character) {
  return isDigit(character) || (character >= 'a' && character <= 'f');
}

// A number that uses all of its 64 bits is written as text: many readers of JSON hold numbers as reals.
std::string seedText(std::uint64_t seed) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text(16, '0');
  for (std::size_t i = text.size(); i-- > 0; seed >>= 4U) text[i] = digits[seed & 15U];
  return text;
}

// Nothing when it does not name two neighbours.
std::optional<PendingMerge> mergeOf(const json& object, const std::vector<std::string>& points) {
  if (!object.is_object()) return std::nullopt;
  JsonFields fields(object);
  PendingMerge merge{fields.text("parent"), fields.text("child"), {}};
  for (const json& place : fields.array("tables", mostTables)) {
    if (!place.is_number_unsigned()) return std::nullopt;
    merge.tables.push_back(place.get<std::uint64_t>());
  }
  const auto parent = std::ranges::find(points, merge.parent);
  const bool areNeighbours = parent != points.end() && parent + 1 != points.end() && *(parent + 1) == merge.child;
  return fields.failed().empty() && areNeighbours ? std::optional(merge) : std::nullopt;
}

}  // namespace

std::string textOf(const ArchiveIndex& index) {
  json object = {{"format", formatName},
                 {"version", archiveFormatVersion},
                 {"id", index.id},
                 {"sourceDisk", index.sourceDisk},
                 {"sourceName", index.sourceName},
                 {"hashSeed", seedText(index.hashSeed)},
                 {"creationTime", index.creationTime},
                 {"points", index.points}};
  if (index.merging) {
    object["merging"] = {
        {"parent", index.merging->parent}, {"child", index.merging->child}, {"tables", index.merging->tables}};
  }
  if (!index.kept.empty()) object["kept"] = index.kept;
  if (index.isLegacy) object["legacy"] = true;
  return jsonText(object);
}

ArchiveResult<ArchiveIndex> parseArchiveIndex(const std::string& text, const std::string& path) {
  const ArchiveResult<json> object = JsonFields::parse(text, path);
  if (!object) return object.error();
  JsonFields fields(*object);
  if (fields.text("format") != formatName) {
    return ArchiveError{ArchiveFault::NotAnArchive, "This is not a backup archive", path, 0, 0};
  }
  if (fields.number("version") > archiveFormatVersion) {
    return ArchiveError{ArchiveFault::NewerFormat, "The archive was made by a newer version", path, 0, 0};
  }
  const ArchiveResult<Done> whole = JsonFields::checkDigest(*object, path);
  if (!whole) return whole.error();
  ArchiveIndex index;
  index.id = fields.hexadecimal("id", idDigits);
  index.sourceDisk = fields.text("sourceDisk");
  index.sourceName = fields.text("sourceName");
  index.hashSeed = std::strtoull(fields.hexadecimal("hashSeed", 16).c_str(), nullptr, 16);
  index.creationTime = fields.signedNumber("creationTime");
  std::set<std::string> seen;
  const auto takeFolders = [&](const char* key, std::vector<std::string>& folders) {
    for (const json& point : fields.array(key, mostPoints)) {
      const bool valid = point.is_string() && isPointFolderName(point.get_ref<const std::string&>()) &&
                         seen.insert(point.get<std::string>()).second;
      if (!valid) fields.fail(key);
      if (valid) folders.push_back(point.get<std::string>());
    }
  };
  takeFolders("points", index.points);
  if (object->contains("kept")) takeFolders("kept", index.kept);
  if (object->contains("legacy")) index.isLegacy = fields.flag("legacy");
  if (const auto merging = object->find("merging"); merging != object->end()) {
    index.merging = mergeOf(*merging, index.points);
    if (!index.merging) fields.fail("merging");
  }
  if (!fields.failed().empty()) {
    return damagedError("The archive's index has no usable \"" + fields.failed() + "\"", path);
  }
  return index;
}

std::string pointFolderName(std::uint64_t number, const std::string& id) {
  const std::string digits = std::to_string(number);
  std::string name(1, 'p');
  name.append(digits.size() < 4 ? 4 - digits.size() : 0, '0').append(digits).append(1, '-');
  return name.append(id, 0, shortIdDigits);
}

bool isPointFolderName(const std::string& name) {
  const std::size_t dash = name.find('-');
  return dash != std::string::npos && dash >= 5 && dash <= 1 + mostNumberDigits && name.front() == 'p' &&
         name.size() == dash + 1 + shortIdDigits &&
         std::all_of(name.begin() + 1, name.begin() + static_cast<std::ptrdiff_t>(dash), isDigit) &&
         std::all_of(name.begin() + static_cast<std::ptrdiff_t>(dash) + 1, name.end(), isHexadecimal);
}

std::uint64_t pointNumberOf(const std::string& name) {
  return std::strtoull(name.c_str() + 1, nullptr, 10);
}

std::string shortIdIn(const std::string& name) {
  return name.substr(name.find('-') + 1);
}

std::string shortIdOf(const std::string& id) {
  return id.substr(0, shortIdDigits);
}

}  // namespace zpk
