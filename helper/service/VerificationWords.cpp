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

Value wordsOf(const PointVerdict& verdict) {
  Dictionary words;
  words.set("index", Value(verdict.index));
  words.set("date", Value(Date{static_cast<double>(verdict.pointTime)}));
  words.set("checked", Value(Date{static_cast<double>(verdict.time)}));
  words.set("bytes", Value(verdict.bytes));
  if (!verdict.error.empty()) words.set("error", Value(verdict.error));
  Array damage;
  for (const PointDamage& range : verdict.damage) damage.push_back(wordsOf(range));
  words.set("damage", Value(std::move(damage)));
  words.set("moreDamage", Value(verdict.moreDamage));
  if (!verdict.unnoted.empty()) words.set("unnoted", Value(verdict.unnoted));
  return Value(std::move(words));
}

}  // namespace

Dictionary wordsOf(const VerificationReport& report) {
  Dictionary words;
  words.set("complete", Value(report.isComplete));
  Array points;
  for (const PointVerdict& verdict : report.points) points.push_back(wordsOf(verdict));
  words.set("points", Value(std::move(points)));
  return words;
}

}  // namespace zpk
