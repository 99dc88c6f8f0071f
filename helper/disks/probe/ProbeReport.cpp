#include "helper/disks/probe/ProbeReport.h"

#include <limits>
#include <nlohmann/json.hpp>

namespace zpk {
namespace {

using Json = nlohmann::json;

constexpr std::size_t maxEntries = 4096;
constexpr std::size_t maxTextLength = 4096;
// The place in the text form of each byte on the disk; the first three fields are little-endian numbers.
constexpr std::array<std::size_t, 16> guidTextPlaces{6, 4, 2, 0, 11, 9, 16, 14, 19, 21, 24, 26, 28, 30, 32, 34};

int hexDigit(char character) {
  if (character >= '0' && character <= '9') return character - '0';
  if (character >= 'a' && character <= 'f') return character - 'a' + 10;
  if (character >= 'A' && character <= 'F') return character - 'A' + 10;
  return -1;
}

// Labels are whatever bytes the disk held; what is not UTF-8 in them becomes replacement characters.
std::string textOf(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// Takes members out of one object and remembers whether each was what it should be.
class Reader {
 public:
  explicit Reader(const Json& json) : _json(json), _good(json.is_object()) {}

  void number(const char* key, std::uint64_t& out, std::uint64_t most = UINT64_MAX) {
    const Json* found = member(key);
    if (found && found->is_number_unsigned() && found->get<std::uint64_t>() <= most) {
      out = found->get<std::uint64_t>();
    } else {
      _good = false;
    }
  }
  template <class Small>
  void number(const char* key, Small& out) {
    std::uint64_t wide = 0;
    number(key, wide, static_cast<std::uint64_t>(std::numeric_limits<Small>::max()));
    out = static_cast<Small>(wide);
  }
  void text(const char* key, std::string& out) {
    const Json* found = member(key);
    if (found && found->is_string()) {
      out = found->get<std::string>().substr(0, maxTextLength);
    } else {
      _good = false;
    }
  }
  void flag(const char* key, bool& out) {
    const Json* found = member(key);
    if (found && found->is_boolean()) {
      out = found->get<bool>();
    } else {
      _good = false;
    }
  }
  void optionalGuid(const char* key, std::optional<GuidBytes>& out) {
    const Json* found = member(key);
    if (!found) return;
    if (found->is_string()) out = guidBytesOf(found->get<std::string>());
    if (!out) _good = false;
  }
  // The elements of a list, or none when it is not one.
  const Json& list(const char* key) {
    static const Json none = Json::array();
    const Json* found = member(key);
    if (found && found->is_array() && found->size() <= maxEntries) return *found;
    _good = false;
    return none;
  }
  const Json* member(const char* key) const {
    if (!_json.is_object()) return nullptr;
    const auto found = _json.find(key);
    return found == _json.end() ? nullptr : &*found;
  }
  void require(bool condition) { _good = _good && condition; }
  bool good() const { return _good; }

 private:
  const Json& _json;
  bool _good;
};

bool readEntry(const Json& json, TableEntry& entry) {
  Reader reader(json);
  reader.number("number", entry.number);
  reader.number("start", entry.start);
  reader.number("size", entry.size);
  reader.number("mbrType", entry.mbrType);
  reader.optionalGuid("typeGuid", entry.typeGuid);
  reader.text("name", entry.name);
  return reader.good();
}

bool readNtfs(const Json& json, NtfsFigures& figures) {
  Reader reader(json);
  reader.number("volumeSize", figures.volumeSize);
  reader.number("usedSize", figures.usedSize);
  reader.number("minimumSize", figures.minimumSize);
  reader.flag("isDirty", figures.isDirty);
  return reader.good();
}

// A text without exceptions and without deep nesting: a report has three levels.
Json parsed(std::string_view text) {
  const auto shallow = [](int depth, Json::parse_event_t, Json&) { return depth <= 4; };
  return Json::parse(text, shallow, false);
}

}  // namespace

bool isExtendedPartition(const TableEntry& entry) {
  return entry.mbrType == 0x05 || entry.mbrType == 0x0F || entry.mbrType == 0x85;
}

std::optional<GuidBytes> guidBytesOf(std::string_view text) {
  if (text.size() != 36) return std::nullopt;
  for (const std::size_t dash : {8U, 13U, 18U, 23U}) {
    if (text[dash] != '-') return std::nullopt;
  }
  GuidBytes bytes{};
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const int high = hexDigit(text[guidTextPlaces[i]]);
    const int low = hexDigit(text[guidTextPlaces[i] + 1]);
    if (high < 0 || low < 0) return std::nullopt;
    bytes[i] = static_cast<std::uint8_t>(high * 16 + low);
  }
  return bytes;
}

std::string guidText(const GuidBytes& guid) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text(36, '-');
  for (std::size_t i = 0; i < guid.size(); ++i) {
    text[guidTextPlaces[i]] = digits[guid[i] >> 4U];
    text[guidTextPlaces[i] + 1] = digits[guid[i] & 15U];
  }
  return text;
}

std::string jsonOf(const TableReport& report) {
  Json json{{"diskSize", report.diskSize}, {"sectorSize", report.sectorSize}, {"schemes", report.schemes},
            {"warnings", report.warnings}, {"problem", report.problem},       {"entries", Json::array()}};
  if (report.diskGuid) json["diskGuid"] = guidText(*report.diskGuid);
  for (const TableEntry& entry : report.entries) {
    Json item{{"number", entry.number},
              {"start", entry.start},
              {"size", entry.size},
              {"mbrType", entry.mbrType},
              {"name", entry.name}};
    if (entry.typeGuid) item["typeGuid"] = guidText(*entry.typeGuid);
    json["entries"].push_back(std::move(item));
  }
  return textOf(json);
}

std::string jsonOf(const VolumeReport& report) {
  Json json{{"type", report.type}, {"version", report.version}, {"label", report.label}, {"serial", report.serial}};
  if (report.ntfs) {
    json["ntfs"] = Json{{"volumeSize", report.ntfs->volumeSize},
                        {"usedSize", report.ntfs->usedSize},
                        {"minimumSize", report.ntfs->minimumSize},
                        {"isDirty", report.ntfs->isDirty}};
  }
  return textOf(json);
}

std::optional<TableReport> tableReportOf(std::string_view text) {
  const Json json = parsed(text);
  TableReport report;
  Reader reader(json);
  reader.number("diskSize", report.diskSize);
  reader.number("sectorSize", report.sectorSize);
  reader.number("schemes", report.schemes);
  reader.optionalGuid("diskGuid", report.diskGuid);
  reader.text("problem", report.problem);
  for (const Json& warning : reader.list("warnings")) {
    reader.require(warning.is_string());
    if (warning.is_string()) report.warnings.push_back(warning.get<std::string>().substr(0, maxTextLength));
  }
  for (const Json& item : reader.list("entries")) {
    TableEntry entry;
    reader.require(readEntry(item, entry));
    report.entries.push_back(std::move(entry));
  }
  if (!reader.good()) return std::nullopt;
  return report;
}

std::optional<VolumeReport> volumeReportOf(std::string_view text) {
  const Json json = parsed(text);
  VolumeReport report;
  Reader reader(json);
  reader.text("type", report.type);
  reader.text("version", report.version);
  reader.text("label", report.label);
  reader.text("serial", report.serial);
  if (const Json* ntfs = reader.member("ntfs")) {
    report.ntfs.emplace();
    reader.require(readNtfs(*ntfs, *report.ntfs));
  }
  if (!reader.good()) return std::nullopt;
  return report;
}

}  // namespace zpk
