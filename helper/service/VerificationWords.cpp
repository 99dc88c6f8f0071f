#include "helper/service/VerificationWords.h"

namespace zpk {
namespace {

Value wordsOf(const PointDamage& damage) {
  Dictionary words;
  words.set("file", Value(damage.file));
  words.set("start", Value(damage.start));
  words.set("end", Value(damage.end));
  return Value(std::move(words));
}

Value wordsOf(const UnreadableStretch& stretch) {
  Dictionary words;
  words.set("disk", Value(stretch.disk));
  words.set("start", Value(stretch.start));
  words.set("end", Value(stretch.end));
  return Value(std::move(words));
}

Date dateOf(std::int64_t secondsSince1970) {
  return {static_cast<double>(secondsSince1970)};
}

Value wordsOf(const PointVerdict& verdict);
Value wordsOf(const PointHealth& health);

template <class T>
Value listOf(const std::vector<T>& things) {
  Array list;
  for (const T& thing : things) list.push_back(wordsOf(thing));
  return Value(std::move(list));
}

Value wordsOf(const PointVerdict& verdict) {
  Dictionary words;
  words.set("index", Value(verdict.index));
  if (verdict.pointTime) words.set("date", Value(dateOf(*verdict.pointTime)));
  words.set("checked", Value(dateOf(verdict.time)));
  words.set("bytes", Value(verdict.bytes));
  if (!verdict.error.empty()) words.set("error", Value(verdict.error));
  words.set("damage", listOf(verdict.damage));
  words.set("moreDamage", Value(verdict.moreDamage));
  if (!verdict.unnoted.empty()) words.set("unnoted", Value(verdict.unnoted));
  if (verdict.damagedBase) words.set("damagedBase", Value(*verdict.damagedBase));
  words.set("unreadableSectors", Value(verdict.unreadableSectors));
  words.set("unreadable", listOf(verdict.unreadable));
  words.set("moreUnreadable", Value(verdict.moreUnreadable));
  return Value(std::move(words));
}

Value wordsOf(const PointHealth& health) {
  Dictionary words;
  words.set("indexFile", Value(health.indexPath));
  if (health.lastCheck) {
    words.set("checked", Value(dateOf(health.lastCheck->time)));
    words.set("damaged", Value(health.lastCheck->foundDamage));
  }
  words.set("unreadableSectors", Value(health.unreadableSectors));
  return Value(std::move(words));
}

}  // namespace

Dictionary wordsOf(const VerificationReport& report) {
  Dictionary words;
  words.set("complete", Value(report.isComplete));
  words.set("points", listOf(report.points));
  return words;
}

Dictionary healthWords(const ArchiveView& view) {
  const auto* present = std::get_if<PresentArchive>(&view);
  Dictionary words;
  words.set("points", present ? listOf(present->health) : Value(Array()));
  return words;
}

}  // namespace zpk
