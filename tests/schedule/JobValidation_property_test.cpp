// What validation promises of any dictionary, on generated ones.
#include <gtest/gtest.h>

#include <array>
#include <random>

#include "base/PropertyList.h"
#include "schedule/ZPKSchedulerViewController.h"

namespace zpk {
namespace {

// Makes dictionaries that are often nearly jobs. No not-a-number among the reals: it equals nothing, not even
// itself.
class Generator {
 public:
  explicit Generator(std::uint32_t seed) : _random(seed) {}

  Dictionary job() {
    static constexpr std::array<const char*, 9> kKeys{"Label",
                                                      "ProgramArguments",
                                                      "KeepAlive",
                                                      "RunAtLoad",
                                                      "StartCalendarInterval",
                                                      "StartCalendarInterval",
                                                      "StartInterval",
                                                      "label",
                                                      ""};
    Dictionary job = oneIn(4) ? Dictionary() : ZPKSchedulerViewController::defaultJobValues();
    if (!oneIn(8)) job.set("StartCalendarInterval", calendar());
    for (std::size_t changes = below(4); changes > 0; --changes) change(job, kKeys.at(below(kKeys.size())));
    return job;
  }

 private:
  Dictionary calendar() {
    static constexpr std::array<const char*, 8> kKeys{"Minute",  "Hour",  "Day",    "Weekday",
                                                      "WeekDay", "Month", "minute", ""};
    Dictionary calendar = oneIn(4) ? Dictionary() : Dictionary{{"Minute", number()}, {"Hour", number()}};
    for (std::size_t changes = below(4); changes > 0; --changes) change(calendar, kKeys.at(below(kKeys.size())));
    return calendar;
  }

  void change(Dictionary& dictionary, const char* key) {
    if (oneIn(4)) return dictionary.remove(key);
    dictionary.set(key, value(2));
  }

  Value number() {
    switch (below(6)) {
      case 0:
        return _random();
      case 1:
        return static_cast<std::int64_t>(_random()) - INT64_C(0x80000000);
      case 2:
        return static_cast<double>(_random()) / 7;
      case 3:
        return oneIn(2);
      case 4:
        return oneIn(2) ? UINT64_MAX : UINT64_C(0);
      default:
        return below(60);
    }
  }

  Value value(int depth) {
    switch (below(depth > 0 ? 7 : 5)) {
      case 0:
        return "text";
      case 1:
        return Date{static_cast<double>(below(1000))};
      case 2:
        return Bytes{1, 2, 3};
      case 5:
        return Array{value(depth - 1), calendar()};
      case 6:
        return Dictionary{{"Minute", value(depth - 1)}};
      default:
        return number();
    }
  }

  std::size_t below(std::size_t bound) { return _random() % bound; }
  bool oneIn(std::size_t bound) { return below(bound) == 0; }

  std::mt19937 _random;
};

// A job as it must be, written down once more. A "Weekday" may be of any kind: there is a key of another spelling
// that goes in its place.
bool isValid(const Dictionary& job) {
  const Dictionary* calendar = job["StartCalendarInterval"].dictionary();
  if (calendar == nullptr) return false;
  for (const auto& [key, value] : *calendar) {
    if (key == "Weekday") continue;
    if ((key != "Minute" && key != "Hour" && key != "Day") || !value.isNumber()) return false;
  }
  if (!calendar->contains("Minute") || !calendar->contains("Hour")) return false;
  if (calendar->contains("Day") && calendar->contains("Weekday")) return false;
  Dictionary rest = job;
  rest.remove("StartCalendarInterval");
  return rest == ZPKSchedulerViewController::defaultJobValues();
}

constexpr std::uint32_t kJobs = 5'000;

TEST(JobValidationOfAnything, GivesNothingExactlyForWhatIsValid) {
  std::uint32_t valid = 0;
  for (std::uint32_t seed = 0; seed < kJobs; ++seed) {
    const Dictionary job = Generator(seed).job();
    ASSERT_EQ(!ZPKSchedulerViewController::validateJobInfo(job).has_value(), isValid(job)) << "seed " << seed;
    valid += isValid(job) ? 1U : 0U;
  }
  EXPECT_GT(valid, kJobs / 20);
  EXPECT_LT(valid, kJobs / 2);
}

TEST(JobValidationOfAnything, GivesAValidJobThatNeedsNoFurtherRepair) {
  for (std::uint32_t seed = 0; seed < kJobs; ++seed) {
    const auto repaired = ZPKSchedulerViewController::validateJobInfo(Generator(seed).job());
    if (!repaired) continue;
    ASSERT_TRUE(isValid(*repaired)) << "seed " << seed;
    ASSERT_FALSE(ZPKSchedulerViewController::validateJobInfo(*repaired)) << "seed " << seed;
  }
}

TEST(JobValidationOfAnything, KeepsEveryNumberThatTheScheduleUses) {
  for (std::uint32_t seed = 0; seed < kJobs; ++seed) {
    const Dictionary job = Generator(seed).job();
    const Dictionary* before = job["StartCalendarInterval"].dictionary();
    const auto repaired = ZPKSchedulerViewController::validateJobInfo(job);
    if (!repaired || before == nullptr) continue;
    const Dictionary& after = *(*repaired)["StartCalendarInterval"].dictionary();
    for (const char* key : {"Minute", "Hour", "Weekday"}) {
      if (!(*before)[key].isNumber()) continue;
      ASSERT_EQ(after[key], (*before)[key]) << key << ", seed " << seed;
    }
    const bool usesDay = (*before)["Day"].isNumber() && !before->contains("Weekday");
    ASSERT_EQ(after["Day"], usesDay ? (*before)["Day"] : Value()) << "seed " << seed;
    // The one thing in a repaired job that need not be a number, and it is as it was.
    ASSERT_EQ(after["Weekday"], (*before)["Weekday"]) << "seed " << seed;
  }
}

TEST(JobValidationOfAnything, GivesAJobThatReadsBackFromItsFileAsValid) {
  for (std::uint32_t seed = 0; seed < kJobs / 10; ++seed) {
    const auto repaired = ZPKSchedulerViewController::validateJobInfo(Generator(seed).job());
    if (!repaired) continue;
    const auto written = writeXMLPropertyList(*repaired);
    ASSERT_TRUE(written) << "seed " << seed;
    const auto read = readPropertyList(*written);
    ASSERT_TRUE(read && read->isDictionary()) << "seed " << seed;
    ASSERT_EQ(*read->dictionary(), *repaired) << "seed " << seed;
  }
}

}  // namespace
}  // namespace zpk
