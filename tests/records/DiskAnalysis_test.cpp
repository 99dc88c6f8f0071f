#include "records/DiskAnalysis.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <deque>
#include <map>
#include <regex>

#include "tests/records/RecordSamples.h"

namespace zpk {
namespace {

// The findings in short: "refused", or the flags (B Boot Camp, R restore target, E empty) and the indexes found, in
// the order h r m w o: "BR h1 w3".
std::string findings(const std::optional<DiskAnalysis>& analysis) {
  if (!analysis) return "refused";
  std::string text;
  if (analysis->isBootCamp) text += 'B';
  if (analysis->isRestoreTarget) text += 'R';
  if (analysis->isEmpty) text += 'E';
  const std::vector<std::pair<char, std::string>> roles = {{'h', "hfsPartition"},
                                                           {'r', "recoveryPartition"},
                                                           {'m', "msrPartition"},
                                                           {'w', "winPartition"},
                                                           {'o', "winRecPartition"}};
  EXPECT_EQ(analysis->partIndexes.size(), roles.size());
  for (const auto& [letter, role] : roles) {
    const Value& index = analysis->partIndexes[role];
    EXPECT_TRUE(index.isUnsigned()) << role;
    if (index == Value(kPartitionNotFound)) continue;
    text += ' ';
    text += letter;
    text += std::to_string(index.unsignedIntegerValue());
  }
  return text;
}

std::string findingsOf(const std::string& letters, std::int64_t schemes) {
  return findings(analyseDisk(samples::disk(letters, schemes)));
}

// A second opinion, by other means: used entries are spelt as a word and held against regular expressions; the
// indexes are told by eating the entries one by one.
namespace oracle {

struct Entry {
  char letter;
  std::size_t index;
};

void eat(std::string_view pattern, std::deque<Entry> entries, std::map<char, std::size_t>& found) {
  for (const char wanted : pattern) {
    const bool required = std::isupper(static_cast<unsigned char>(wanted)) != 0;
    const char letter = static_cast<char>(std::tolower(static_cast<unsigned char>(wanted)));
    if (!entries.empty() && entries.front().letter == letter) {
      if (letter != 'e' && letter != 'c') found[letter] = entries.front().index;
      entries.pop_front();
    } else if (required) {
      return;
    }
  }
}

std::string flagsOf(const std::string& word, std::int64_t schemes) {
  static const std::regex windows("e?[hc]r?o?m?o?wo?|e?r?o?m?o?wo?");
  static const std::regex noWindows("e?[hc]r?o?m?o?");
  static const std::regex auxiliary("[ermo]*");
  const bool gpt = (schemes & 2) != 0;
  if (gpt || (schemes & 4) != 0) {
    if (std::regex_match(word, windows)) return "BR";
    if (std::regex_match(word, noWindows)) return "R";
  }
  if (gpt ? std::regex_match(word, auxiliary) : word.empty()) return "RE";
  return "refused";
}

std::string findingsOf(const std::string& letters, std::int64_t schemes) {
  std::string word;
  std::deque<Entry> entries;
  for (std::size_t i = 0; i < letters.size(); ++i) {
    if (letters[i] == '-') continue;
    word += letters[i];
    entries.push_back({letters[i], i});
  }
  std::string text = flagsOf(word, schemes);
  if (text == "refused") return text;
  // The patterns up to the first that eats everything leave their traces.
  std::map<char, std::size_t> found;
  if ((schemes & 6) != 0) {
    const std::vector<std::pair<std::string, std::regex>> patterns = {{"eHromoWo", std::regex("e?hr?o?m?o?wo?")},
                                                                      {"eCromoWo", std::regex("e?cr?o?m?o?wo?")},
                                                                      {"eHromo", std::regex("e?hr?o?m?o?")},
                                                                      {"eCromo", std::regex("e?cr?o?m?o?")},
                                                                      {"eromoWo", std::regex("e?r?o?m?o?wo?")}};
    for (const auto& [pattern, whole] : patterns) {
      eat(pattern, entries, found);
      if (std::regex_match(word, whole)) break;
    }
  }
  for (const char letter : {'h', 'r', 'm', 'w', 'o'}) {
    if (found.count(letter) != 0) text += std::string(" ") + letter + std::to_string(found[letter]);
  }
  return text;
}

}  // namespace oracle

struct Layout {
  const char* letters;
  std::int64_t schemes;
  const char* findings;
};

// Worked out by hand.
constexpr Layout kLayouts[] = {
    // Macs with Windows.
    {"ehrw", 2, "BR h1 r2 w3"},
    {"ehrw", 4, "BR h1 r2 w3"},
    {"ehrw", 6, "BR h1 r2 w3"},
    {"ehrw", -1, "BR h1 r2 w3"},
    {"hw", 2, "BR h0 w1"},
    {"ehw", 2, "BR h1 w2"},
    {"ehmw", 2, "BR h1 m2 w3"},
    {"ehromowo", 2, "BR h1 r2 m4 w6 o7"},
    {"ehrmow", 2, "BR h1 r2 m3 w5 o4"},
    {"ehrowo", 2, "BR h1 r2 w4 o5"},
    {"ehoow", 2, "BR h1 w4 o3"},
    {"cw", 2, "BR w1"},
    {"ecmwo", 2, "BR m2 w3 o4"},
    {"ecromowo", 2, "BR r2 m4 w6 o7"},
    // Macs without.
    {"ehr", 2, "R h1 r2"},
    {"ehr", 4, "R h1 r2"},
    {"h", 2, "R h0"},
    {"eh", 2, "R h1"},
    {"ehromo", 2, "R h1 r2 m4 o5"},
    {"c", 2, "R"},
    {"ecr", 2, "R r2"},
    {"ecromo", 2, "R r2 m4 o5"},
    // Windows alone.
    {"ew", 2, "BR w1"},
    {"w", 2, "BR w0"},
    {"w", 4, "BR w0"},
    {"emw", 2, "BR m1 w2"},
    {"oemwo", 2, "refused"},
    {"eomwo", 2, "BR m2 w3 o4"},
    {"eromowo", 2, "BR r1 m3 w5 o6"},
    // Unused entries are passed over and counted.
    {"e-h--r-w", 2, "BR h2 r5 w7"},
    {"---ehrw", 2, "BR h4 r5 w6"},
    {"ehrw---", 2, "BR h1 r2 w3"},
    {"-w-", 2, "BR w1"},
    // Left over, out of order, twice, or unknown.
    {"ehrwx", 2, "refused"},
    {"ehrwh", 2, "refused"},
    {"ehrww", 2, "refused"},
    {"ehrwm", 2, "refused"},
    {"ehrwoo", 2, "refused"},
    {"eehrw", 2, "refused"},
    {"her", 2, "refused"},
    {"ehhw", 2, "refused"},
    {"ehcw", 2, "refused"},
    {"whe", 2, "refused"},
    {"ehrx", 2, "refused"},
    {"x", 2, "refused"},
    {"n", 2, "refused"},
    {"ehn", 2, "refused"},
    {"wmo", 2, "refused"},
    // Empty: nothing but auxiliary partitions; what failed patterns recorded stays.
    {"", 2, "RE"},
    {"", 0, "RE"},
    {"", 4, "RE"},
    {"---", 2, "RE"},
    {"---", 0, "RE"},
    {"---", 4, "RE"},
    {"em", 2, "RE m1"},
    {"e", 2, "RE"},
    {"r", 2, "RE r0"},
    {"erm", 2, "RE r1 m2"},
    {"eromo", 2, "RE r1 m3 o4"},
    {"mmm", 2, "RE m0"},
    {"omr", 2, "RE m1 o0"},
    {"re-", 2, "RE r0"},
    // Only the scheme of bit 2 knows auxiliary partitions.
    {"em", 4, "refused"},
    {"e", 4, "refused"},
    {"e", 0, "refused"},
    // Without a known scheme no layout is known either.
    {"ehrw", 0, "refused"},
    {"ehrw", 1, "refused"},
    {"ehrw", 8, "refused"},
    {"w", 1, "refused"},
    {"-x-", 0, "refused"},
};

TEST(DiskAnalysis, FindsWhatWasWorkedOutByHand) {
  for (const Layout& layout : kLayouts) {
    EXPECT_EQ(findingsOf(layout.letters, layout.schemes), layout.findings)
        << layout.letters << " " << layout.schemes;
  }
}

TEST(DiskAnalysis, TheSecondOpinionAgreesWithWhatWasWorkedOutByHand) {
  for (const Layout& layout : kLayouts) {
    EXPECT_EQ(oracle::findingsOf(layout.letters, layout.schemes), layout.findings)
        << layout.letters << " " << layout.schemes;
  }
}

TEST(DiskAnalysis, AgreesWithTheSecondOpinionOnEveryLayoutOfUpToFourEntries) {
  constexpr std::string_view alphabet = "ehcrmwoxn-";
  std::vector<std::string> layouts = {""};
  std::size_t compared = 0;
  for (std::size_t i = 0; i < layouts.size(); ++i) {
    const std::string letters = layouts[i];
    for (const std::int64_t schemes : {0, 2, 4}) {
      ASSERT_EQ(findingsOf(letters, schemes), oracle::findingsOf(letters, schemes)) << letters << " " << schemes;
      ++compared;
    }
    if (letters.size() == 4) continue;
    for (const char letter : alphabet) layouts.push_back(letters + letter);
  }
  EXPECT_EQ(compared, 3u * 11'111u);
}

// Longer layouts that come close to a pattern: every way to leave letters out of the longest ones, with an unused
// or a foreign entry at each place.
TEST(DiskAnalysis, AgreesWithTheSecondOpinionOnNearlyFullLayouts) {
  for (const std::string full : {"ehromowo", "ecromowo"}) {
    for (unsigned kept = 0; kept < 1u << full.size(); ++kept) {
      std::string letters;
      for (std::size_t i = 0; i < full.size(); ++i) {
        if ((kept >> i & 1u) != 0) letters += full[i];
      }
      ASSERT_EQ(findingsOf(letters, 2), oracle::findingsOf(letters, 2)) << letters;
      for (std::size_t place = 0; place <= letters.size(); ++place) {
        for (const char extra : {'-', 'x', 'w'}) {
          std::string changed = letters;
          changed.insert(place, 1, extra);
          ASSERT_EQ(findingsOf(changed, 2), oracle::findingsOf(changed, 2)) << changed;
        }
      }
    }
  }
}

// What the known layouts do not make use of.
TEST(DiskAnalysisByLayouts, AnyOtherLetterStandsForAnUnknownType) {
  constexpr LayoutRule kLayout[] = {{"eXz", false, true}};
  const auto findingsBy = [&](std::string_view letters) {
    return findings(analyseDiskByLayouts(samples::disk(letters), kLayout));
  };
  EXPECT_EQ(findingsBy("x"), "R");
  EXPECT_EQ(findingsBy("en"), "R");
  EXPECT_EQ(findingsBy("exn"), "R");
  EXPECT_EQ(findingsBy("eh"), "refused");
  EXPECT_EQ(findingsBy("exnx"), "refused");
}

TEST(DiskAnalysisByLayouts, ABootCampLayoutIsARestoreTargetWhetherItSaysSoOrNot) {
  constexpr LayoutRule kLayout[] = {{"W", true, false}};
  EXPECT_EQ(findings(analyseDiskByLayouts(samples::disk("w"), kLayout)), "BR w0");
}

TEST(DiskAnalysisByLayouts, ALayoutThatSaysNothingKeepsItsDiskAndLeavesTheRestToEmptiness) {
  constexpr LayoutRule kLayout[] = {{"eH", false, false}, {"eM", false, false}};
  EXPECT_EQ(findings(analyseDiskByLayouts(samples::disk("eh"), kLayout)), " h1");
  EXPECT_EQ(findings(analyseDiskByLayouts(samples::disk("em"), kLayout)), "RE m1");
  EXPECT_EQ(findings(analyseDiskByLayouts(samples::disk("eh", 1), kLayout)), "refused");
}

TEST(DiskAnalysisByLayouts, TheFirstFullMatchWins) {
  constexpr LayoutRule kLayout[] = {{"hM", true, true}, {"Hw", false, true}, {"HW", true, true}};
  EXPECT_EQ(findings(analyseDiskByLayouts(samples::disk("hw"), kLayout)), "R h0 w1");
}

TEST(DiskAnalysisByLayouts, ALaterLayoutOverwritesWhatAFailedOneRecorded) {
  // The first takes the first partition for Windows and fails on the second; the second layout takes the second.
  constexpr LayoutRule kLayout[] = {{"WH", true, true}, {"zwzwO", false, true}, {"WwO", true, true}};
  EXPECT_EQ(findings(analyseDiskByLayouts(samples::disk("wwo"), kLayout)), "R w1 o2");
}

TEST(DiskAnalysis, AnUnusedEntrysTypeDoesNotMatter) {
  const auto unusedWindows = std::make_shared<const RLDPartition>(
      RLDPartition::Fields{.partType = 0, .gptTypeGUID = TMBGUID::GUIDWithGPTType(TMBGPTType::MicrosoftBasicData)});
  const auto disk = [&](std::int64_t schemes) {
    return RLDDisk(
        {.partitions = RecordList<RLDPartition>{unusedWindows, unusedWindows}, .partitioningSchemes = schemes});
  };
  EXPECT_EQ(findings(analyseDisk(disk(2))), "RE");
  EXPECT_EQ(findings(analyseDisk(disk(0))), "RE");
}

TEST(DiskAnalysis, APartitionsTypeIsItsIdentifiersAndNotItsTablesValue) {
  const auto windows = std::make_shared<const RLDPartition>(RLDPartition::Fields{
      .partType = 0xf000000000000001, .gptTypeGUID = TMBGUID::GUIDWithGPTType(TMBGPTType::MicrosoftBasicData)});
  const RLDDisk disk({.partitions = RecordList<RLDPartition>{windows}, .partitioningSchemes = 2});
  EXPECT_EQ(findings(analyseDisk(disk)), "BR w0");
}

TEST(DiskAnalysis, ADiskWithoutAListOfPartitionsIsEmpty) {
  EXPECT_EQ(findings(analyseDisk(RLDDisk({.partitioningSchemes = 2}))), "RE");
}

TEST(DiskAnalysis, AThousandEntriesAreNoTrouble) {
  EXPECT_EQ(findingsOf(std::string(1000, '-') + "ehrw" + std::string(1000, '-'), 2), "BR h1001 r1002 w1003");
  EXPECT_EQ(findingsOf("eh" + std::string(1000, 'w'), 2), "refused");
}

}  // namespace
}  // namespace zpk
