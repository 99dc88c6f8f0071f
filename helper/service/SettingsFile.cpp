#include "helper/service/SettingsFile.h"

#include <nlohmann/json.hpp>

namespace zpk {
namespace {

using Json = nlohmann::json;

constexpr int kVersion = 1;
// Below half of the range, so that a state time never runs out.
constexpr std::int64_t kHighestStateTime = std::int64_t{1} << 61;

// Reads members of the object one by one and remembers the first that is not as it should be.
class Reader {
 public:
  explicit Reader(const Json& object) : _object(object) {}

  void text(const char* key, std::optional<std::string>& into) {
    if (const Json* value = find(key, &Json::is_string)) into = value->get<std::string>();
  }
  void flag(const char* key, bool& into) {
    if (const Json* value = find(key, &Json::is_boolean)) into = value->get<bool>();
  }
  template <class Number>
  void number(const char* key, Number lowest, Number highest, Number& into) {
    const Json* value = find(key, &Json::is_number_unsigned);
    if (!value) return;
    const auto number = value->get<std::uint64_t>();
    if (number < static_cast<std::uint64_t>(lowest) || number > static_cast<std::uint64_t>(highest))
      return complain(key);
    into = static_cast<Number>(number);
  }

  void number(const char* key, std::optional<std::uint32_t>& into) {
    if (!_object.contains(key)) return;
    std::uint32_t number = 0;
    this->number(key, 0U, UINT32_MAX, number);
    into = number;
  }

  const std::string& complaint() const { return _complaint; }

 private:
  const Json* find(const char* key, bool (Json::*isKind)() const noexcept) {
    const auto found = _object.find(key);
    if (found == _object.end()) return nullptr;
    if (((*found).*isKind)()) return &*found;
    complain(key);
    return nullptr;
  }
  void complain(const char* key) {
    if (_complaint.empty()) _complaint = std::string("\"") + key + "\" has no sensible value";
  }

  const Json& _object;
  std::string _complaint;
};

}  // namespace

std::string settingsText(const HelperSettings& settings) {
  Json object{{"version", kVersion},
              {"maxIncrements", settings.maxIncrements},
              {"checkFileSystem", settings.checkFileSystem},
              {"backupRunning", settings.backupRunning},
              {"stateTimeLimit", static_cast<std::uint64_t>(settings.stateTimeLimit)}};
  if (settings.source) object["source"] = *settings.source;
  if (settings.archivePath) object["archivePath"] = *settings.archivePath;
  if (settings.archiveUser) object["archiveUser"] = *settings.archiveUser;
  if (settings.restoringOnto) object["restoringOnto"] = *settings.restoringOnto;
  if (settings.lastBackupError) object["lastBackupError"] = *settings.lastBackupError;
  // An error's text may quote a path of any bytes.
  return object.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

Expected<HelperSettings, SettingsTextError> settingsFromText(std::string_view text) {
  const Json object = Json::parse(text, nullptr, false);
  if (!object.is_object()) return SettingsTextError{"it is not a JSON object"};
  const auto version = object.find("version");
  if (version == object.end() || *version != kVersion) return SettingsTextError{"it is of another version"};
  HelperSettings settings;
  Reader reader(object);
  reader.text("source", settings.source);
  reader.text("archivePath", settings.archivePath);
  reader.number("archiveUser", settings.archiveUser);
  reader.number("maxIncrements", kFewestIncrements, kMostIncrements, settings.maxIncrements);
  reader.flag("checkFileSystem", settings.checkFileSystem);
  reader.text("lastBackupError", settings.lastBackupError);
  reader.flag("backupRunning", settings.backupRunning);
  reader.text("restoringOnto", settings.restoringOnto);
  reader.number("stateTimeLimit", std::int64_t{0}, kHighestStateTime, settings.stateTimeLimit);
  if (!reader.complaint().empty()) return SettingsTextError{reader.complaint()};
  return settings;
}

Expected<SettingsFile::Loaded, FileError> SettingsFile::load() {
  if (!_files.fileExists(_path)) return Loaded{};
  const auto content = _files.contentsOfFile(_path, kLongest);
  if (!content) return content.error();
  auto settings = settingsFromText(std::string(content->begin(), content->end()));
  if (settings) return Loaded{std::move(*settings), ""};
  const std::string aside = _path + ".unreadable";
  Loaded loaded{HelperSettings{}, _path + ": " + settings.error().reason + "; the defaults are used"};
  if (_files.saveFile(aside, *content)) loaded.complaint += ", the file is kept as " + aside;
  return loaded;
}

Expected<Done, FileError> SettingsFile::save(const HelperSettings& settings) {
  const std::string text = settingsText(settings);
  return _files.saveFile(_path, Bytes(text.begin(), text.end()));
}

}  // namespace zpk
