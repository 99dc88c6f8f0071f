#include "tools/zpkctl/VerificationReport.h"

#include <cstdint>
#include <nlohmann/json.hpp>

#include "app/presentation/ByteSizeString.h"
#include "tools/zpkctl/StatusReport.h"

namespace zpk::ctl {
namespace {

using nlohmann::ordered_json;

const Array& listAt(const Dictionary& from, std::string_view key) {
  static const Array none;
  const Array* list = from[key].array();
  return list ? *list : none;
}

// What is no dictionary reads as an empty one.
const Dictionary& entry(const Value& value) {
  static const Dictionary none;
  return value.dictionary() ? *value.dictionary() : none;
}

std::optional<Date> dateAt(const Dictionary& from, std::string_view key) {
  return from[key].date() ? std::optional(*from[key].date()) : std::nullopt;
}

// What it holds itself.
bool holdsWhatItShould(const Dictionary& point) {
  return listAt(point, "damage").empty() && point["error"].isNull();
}

bool isPointSound(const Dictionary& point) {
  return holdsWhatItShould(point) && !point["damagedBase"].isNumber();
}

// "bytes 65536 to 131071"
std::string bytesInWords(const Dictionary& range) {
  return "bytes " + std::to_string(range["start"].unsignedIntegerValue()) + " to " +
         std::to_string(range["end"].unsignedIntegerValue() - 1);
}

std::string moreInWords(const Value& ranges) {
  const std::uint64_t more = ranges.unsignedIntegerValue();
  if (more == 0) return {};
  return "\n   and " + std::to_string(more) + (more == 1 ? " more range" : " more ranges");
}

std::string damageInWords(const Dictionary& point) {
  std::string text = "damaged";
  if (point["error"].text()) text += "\n   " + *point["error"].text();
  for (const Value& value : listAt(point, "damage")) {
    const Dictionary& range = entry(value);
    text += "\n   " + range["file"].textOr("") + ": " + bytesInWords(range) + " of the disk";
  }
  return text + moreInWords(point["moreDamage"]);
}

// What the point never held; nothing when it holds all.
std::string lackInWords(const Dictionary& point) {
  const std::uint64_t sectors = point["unreadableSectors"].unsignedIntegerValue();
  if (sectors == 0) return {};
  std::string text =
      "\n   made with " + std::to_string(sectors) +
      (sectors == 1 ? " unreadable sector, which is zeros in it:" : " unreadable sectors, which are zeros in it:");
  for (const Value& value : listAt(point, "unreadable")) {
    const Dictionary& range = entry(value);
    text += "\n   " + bytesInWords(range) + " of \"" + range["disk"].textOr("") + "\"";
  }
  return text + moreInWords(point["moreUnreadable"]);
}

std::string baseInWords(const Dictionary& point) {
  const Value& base = point["damagedBase"];
  if (!base.isNumber()) return {};
  return "\n   takes content from backup point " + std::to_string(base.unsignedIntegerValue() + 1) +
         ", which is damaged";
}

std::string noteInWords(const Dictionary& point) {
  return point["unnoted"].text() ? "\n   not noted in the archive: " + *point["unnoted"].text() : std::string();
}

std::string pointInWords(const Dictionary& point) {
  const std::string read = byteSizeString(point["bytes"].unsignedIntegerValue());
  return std::to_string(point["index"].unsignedIntegerValue() + 1) + "  " + dateInWords(dateAt(point, "date")) +
         "  " + (holdsWhatItShould(point) ? "sound, " + read + " read" : damageInWords(point)) +
         baseInWords(point) + noteInWords(point) + lackInWords(point);
}

// `where` is the key of what the ranges are in.
ordered_json rangesAsJson(const Array& ranges, const char* where) {
  ordered_json rows = ordered_json::array();
  for (const Value& value : ranges) {
    const Dictionary& range = entry(value);
    rows.push_back({{where, range[where].textOr("")},
                    {"start", range["start"].unsignedIntegerValue()},
                    {"end", range["end"].unsignedIntegerValue()}});
  }
  return rows;
}

ordered_json pointAsJson(const Dictionary& point) {
  ordered_json row;
  row["index"] = point["index"].unsignedIntegerValue();
  const auto date = dateForPrograms(dateAt(point, "date"));
  row["date"] = date ? ordered_json(*date) : ordered_json();
  const auto checked = dateForPrograms(dateAt(point, "checked"));
  row["checked"] = checked ? ordered_json(*checked) : ordered_json();
  row["bytes"] = point["bytes"].unsignedIntegerValue();
  row["sound"] = isPointSound(point);
  row["error"] = point["error"].text() ? ordered_json(*point["error"].text()) : ordered_json();
  row["damage"] = rangesAsJson(listAt(point, "damage"), "file");
  row["moreDamage"] = point["moreDamage"].unsignedIntegerValue();
  const Value& base = point["damagedBase"];
  row["damagedBase"] = base.isNumber() ? ordered_json(base.unsignedIntegerValue()) : ordered_json();
  row["unnoted"] = point["unnoted"].text() ? ordered_json(*point["unnoted"].text()) : ordered_json();
  row["unreadableSectors"] = point["unreadableSectors"].unsignedIntegerValue();
  row["unreadable"] = rangesAsJson(listAt(point, "unreadable"), "disk");
  row["moreUnreadable"] = point["moreUnreadable"].unsignedIntegerValue();
  return row;
}

}  // namespace

bool isSound(const Dictionary& report) {
  for (const Value& point : listAt(report, "points")) {
    if (!isPointSound(entry(point))) return false;
  }
  return report["complete"].boolValue();
}

std::string verificationInWords(const Dictionary& report) {
  std::string text;
  for (const Value& point : listAt(report, "points")) text += pointInWords(entry(point)) + "\n";
  if (isSound(report)) return text + "Every backup point is sound.";
  if (!report["complete"].boolValue()) return text + "The check did not go to its end.";
  return text + "There is damage. Nothing further is built on what is damaged.";
}

std::string verificationAsJson(const Dictionary& report) {
  ordered_json json;
  json["sound"] = isSound(report);
  json["complete"] = report["complete"].boolValue();
  json["points"] = ordered_json::array();
  for (const Value& point : listAt(report, "points")) json["points"].push_back(pointAsJson(entry(point)));
  return json.dump(2, ' ', false, ordered_json::error_handler_t::replace);
}

}  // namespace zpk::ctl
