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

bool isPointSound(const Dictionary& point) {
  return listAt(point, "damage").empty() && point["error"].isNull();
}

std::string pointInWords(const Dictionary& point) {
  const std::string name =
      std::to_string(point["index"].unsignedIntegerValue() + 1) + "  " + dateInWords(dateAt(point, "date"));
  std::string text = isPointSound(point)
                         ? name + "  sound, " + byteSizeString(point["bytes"].unsignedIntegerValue()) + " read"
                         : name + "  damaged";
  if (point["error"].text()) text += "\n   " + *point["error"].text();
  for (const Value& value : listAt(point, "damage")) {
    const Dictionary& range = entry(value);
    text += "\n   " + range["file"].textOr("") + ": bytes " +
            std::to_string(range["start"].unsignedIntegerValue()) + " to " +
            std::to_string(range["end"].unsignedIntegerValue() - 1) + " of the disk";
  }
  const std::uint64_t more = point["moreDamage"].unsignedIntegerValue();
  if (more > 0) text += "\n   and " + std::to_string(more) + " more ranges";
  if (point["unnoted"].text()) text += "\n   not noted in the archive: " + *point["unnoted"].text();
  return text;
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
  row["damage"] = ordered_json::array();
  for (const Value& value : listAt(point, "damage")) {
    const Dictionary& range = entry(value);
    row["damage"].push_back({{"file", range["file"].textOr("")},
                             {"start", range["start"].unsignedIntegerValue()},
                             {"end", range["end"].unsignedIntegerValue()}});
  }
  row["moreDamage"] = point["moreDamage"].unsignedIntegerValue();
  row["unnoted"] = point["unnoted"].text() ? ordered_json(*point["unnoted"].text()) : ordered_json();
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
