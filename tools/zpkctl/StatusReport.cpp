#include "tools/zpkctl/StatusReport.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <ctime>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "helperlink/StatusRecord.h"
#include "records/RLDArchive.h"
#include "records/RLDArchiveItem.h"
#include "records/ZPKDisk.h"
#include "tools/zpkctl/Words.h"

namespace zpk::ctl {
namespace {

using nlohmann::ordered_json;

// The seconds of a date that strftime writes with a year of four figures.
std::optional<std::time_t> writableSeconds(const std::optional<Date>& date) {
  constexpr double kLast = 253402300799.0;
  if (!date || !(date->secondsSince1970 >= 0 && date->secondsSince1970 <= kLast)) return std::nullopt;
  return static_cast<std::time_t>(std::floor(date->secondsSince1970));
}

ordered_json dateAsJson(const std::optional<Date>& date) {
  const auto text = dateForPrograms(date);
  return text ? ordered_json(*text) : ordered_json();
}

ordered_json textOrNull(const std::optional<std::string>& text) {
  return text ? ordered_json(*text) : ordered_json();
}

// A byte that is not UTF-8 becomes U+FFFD instead of an exception.
std::string written(const ordered_json& json) {
  return json.dump(2, ' ', false, ordered_json::error_handler_t::replace);
}

std::shared_ptr<const ZPKDisk> sourceDisk(const Dictionary& status) {
  const auto identifier = statuskey::sourceDisk.read(status);
  if (!identifier) return nullptr;
  for (const auto& disk : statuskey::disks.read(status)) {
    if (disk->gptID() && disk->gptID()->stringValue() == *identifier) return disk;
  }
  return nullptr;
}

const char* stateName(HelperState state) {
  switch (state) {
    case HelperState::idle:
      return "idle";
    case HelperState::busy:
      return "busy";
    case HelperState::inProgress:
      return "inProgress";
    case HelperState::unknown:
      break;
  }
  return "unknown";
}

const char* operationKind(Operation operation) {
  switch (operation) {
    case Operation::backup:
      return "backup";
    case Operation::restore:
      return "restore";
    case Operation::merge:
      return "merge";
    case Operation::verification:
      return "verify";
    case Operation::unknown:
      break;
  }
  return "unknown";
}

struct ArcStateRow {
  ArcState state;
  const char* name;
  const char* words;
};
constexpr ArcStateRow kArcStates[] = {
    {ArcState::ready, "ready", "ready"},
    {ArcState::empty, "empty", "no backup yet"},
    {ArcState::unavailable, "unavailable", "not reachable"},
    {ArcState::foreign, "foreign", "made from another disk"},
};
constexpr ArcStateRow kNoArcState{ArcState::unknown, "unknown", "in a state that this version does not know"};

const ArcStateRow& arcStateRow(const Dictionary& status) {
  for (const ArcStateRow& row : kArcStates) {
    if (row.state == statuskey::arcState.read(status)) return row;
  }
  return kNoArcState;
}

std::string stateInWords(const Dictionary& status) {
  switch (statuskey::state.read(status)) {
    case HelperState::idle:
      return "ready";
    case HelperState::busy:
      return "busy";
    case HelperState::inProgress:
      return operationName(operationOf(status)) + ", " + progressWords(status);
    case HelperState::unknown:
      break;
  }
  return "unknown";
}

std::string sourceInWords(const Dictionary& status) {
  const auto identifier = statuskey::sourceDisk.read(status);
  if (!identifier) return "not chosen";
  const auto disk = sourceDisk(status);
  if (!disk) return *identifier + " (not connected)";
  return disk->name().value_or("unnamed disk") + " (" + *identifier + ")";
}

std::string destinationInWords(const Dictionary& status) {
  const auto path = statuskey::targetArchive.read(status);
  return path ? *path + " (" + arcStateRow(status).words + ")" : "not chosen";
}

ordered_json operationAsJson(const Dictionary& status) {
  if (statuskey::state.read(status) != HelperState::inProgress) return {};
  ordered_json operation;
  operation["kind"] = operationKind(operationOf(status));
  operation["percent"] = statuskey::progressPercents.read(status).doubleValue();
  operation["elapsedSeconds"] = statuskey::elapsedTime.read(status);
  const bool estimated = statuskey::remainingTime.isPresentIn(status);
  operation["remainingSeconds"] = estimated ? ordered_json(statuskey::remainingTime.read(status)) : ordered_json();
  return operation;
}

ordered_json sourceAsJson(const Dictionary& status) {
  const auto identifier = statuskey::sourceDisk.read(status);
  if (!identifier) return {};
  const auto disk = sourceDisk(status);
  return {{"id", *identifier},
          {"name", disk ? textOrNull(disk->name()) : ordered_json()},
          {"isConnected", disk != nullptr}};
}

ordered_json destinationAsJson(const Dictionary& status) {
  const auto path = statuskey::targetArchive.read(status);
  return path ? ordered_json{{"path", *path}, {"state", arcStateRow(status).name}} : ordered_json();
}

// What the helper tells of that point; null when it tells nothing.
const Dictionary* healthOf(const RLDArchiveItem& point, const Dictionary& health) {
  const Array* told = health["points"].array();
  if (!told || !point.indexFilePath()) return nullptr;
  for (const Value& entry : *told) {
    const Dictionary* found = entry.dictionary();
    if (found && (*found)["indexFile"].textOr("") == *point.indexFilePath()) return found;
  }
  return nullptr;
}

std::string lastCheckInWords(const Dictionary* health) {
  if (!health) return "unknown";
  const Date* date = (*health)["checked"].date();
  if (!date) return "never";
  return dateInWords(*date) + ((*health)["damaged"].boolValue() ? ", damaged" : ", sound");
}

ordered_json lastCheckAsJson(const Dictionary& health) {
  const Date* date = health["checked"].date();
  if (!date) return {};
  return {{"date", dateAsJson(*date)}, {"sound", !health["damaged"].boolValue()}};
}

std::string padded(std::string text, std::size_t width) {
  text.resize(std::max(text.size(), width), ' ');
  return text;
}

// Only the first point of an archive stands for itself; each of the others is what changed since the one before.
const char* kindOfPoint(std::size_t place) {
  return place == 0 ? "full" : "increment";
}

}  // namespace

std::shared_ptr<const RLDArchiveItem> newestPoint(const Dictionary& status) {
  const auto archive = statuskey::archiveDescription.read(status);
  return archive && !archive->items().empty() ? archive->items().back() : nullptr;
}

std::string dateInWords(const std::optional<Date>& date) {
  const auto seconds = writableSeconds(date);
  std::tm parts{};
  if (!seconds || !::localtime_r(&*seconds, &parts)) return "unknown";
  std::array<char, 64> text{};
  return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M", &parts)};
}

std::optional<std::string> dateForPrograms(const std::optional<Date>& date) {
  const auto seconds = writableSeconds(date);
  std::tm parts{};
  if (!seconds || !::gmtime_r(&*seconds, &parts)) return std::nullopt;
  std::array<char, 64> text{};
  return std::string(text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts));
}

std::string statusInWords(const Dictionary& status) {
  const auto point = newestPoint(status);
  std::string text = "State:        " + stateInWords(status) + "\nSource:       " + sourceInWords(status) +
                     "\nDestination:  " + destinationInWords(status) +
                     "\nLast backup:  " + (point ? dateInWords(point->creationDate()) : "none");
  if (const auto error = statuskey::lastBackupError.read(status)) text += "\nLast error:   " + *error;
  return text;
}

std::string statusAsJson(const Dictionary& status) {
  const auto point = newestPoint(status);
  ordered_json json;
  json["state"] = stateName(statuskey::state.read(status));
  json["operation"] = operationAsJson(status);
  json["source"] = sourceAsJson(status);
  json["destination"] = destinationAsJson(status);
  json["lastBackup"] = point ? dateAsJson(point->creationDate()) : ordered_json();
  json["lastBackupError"] = textOrNull(statuskey::lastBackupError.read(status));
  return written(json);
}

std::string pointsInWords(const Dictionary& status, const Dictionary& health) {
  const auto archive = statuskey::archiveDescription.read(status);
  if (!archive || archive->items().empty()) return "There is no backup point yet.";
  std::string text = "Date              Kind       Pinned  Last check                 Label";
  std::size_t place = 0;
  for (const auto& point : archive->items()) {
    text += "\n" + padded(dateInWords(point->creationDate()), 18) + padded(kindOfPoint(place++), 11) +
            padded(point->isPinned() ? "yes" : "no", 8) + padded(lastCheckInWords(healthOf(*point, health)), 27) +
            point->name().value_or("");
    text.erase(text.find_last_not_of(' ') + 1);
  }
  return text;
}

std::string pointsAsJson(const Dictionary& status, const Dictionary& health) {
  ordered_json points = ordered_json::array();
  if (const auto archive = statuskey::archiveDescription.read(status)) {
    for (const auto& point : archive->items()) {
      ordered_json row;
      row["index"] = points.size();
      row["date"] = dateAsJson(point->creationDate());
      row["kind"] = kindOfPoint(points.size());
      row["pinned"] = point->isPinned();
      row["label"] = textOrNull(point->name());
      if (const Dictionary* known = healthOf(*point, health)) {
        row["lastCheck"] = lastCheckAsJson(*known);
        row["unreadableSectors"] = (*known)["unreadableSectors"].unsignedIntegerValue();
      }
      points.push_back(std::move(row));
    }
  }
  return written(points);
}

}  // namespace zpk::ctl
