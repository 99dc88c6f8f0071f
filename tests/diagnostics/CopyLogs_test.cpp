#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <locale>

#include "diagnostics/DiagnosticsWorld.h"

namespace zpk {
namespace {

using testing::ElementsAre;

class CopyMatchingFiles : public testing::Test {
 protected:
  CopyMatchingFiles() { world.files.addFolder("/logs"); }

  std::uint64_t copy(const std::string& pattern) {
    return copyMatchingFiles("/logs/", pattern, "/tmp/out", world.environment);
  }
  // Which of the names the pattern of that row of the table selects.
  std::vector<std::string> selected(std::size_t row, const std::vector<std::string>& names) {
    for (const std::string& name : names) world.files.add("/logs/" + name, name);
    copy(makeLogTasks(kEveryCategory).at(row - 1)["pattern"].textOr(""));
    return *world.files.contentsOfDirectory("/tmp/out");
  }

  DiagnosticsWorld world;
};

TEST_F(CopyMatchingFiles, CopiesWhatMatchesUnderItsOwnNameAndCounts) {
  world.files.add("/logs/a1", "one");
  world.files.add("/logs/a2", "two");
  world.files.add("/logs/b", "three");
  EXPECT_EQ(copy("^a\\d$"), 2U);
  EXPECT_EQ(world.files.content("/tmp/out/a1"), "one");
  EXPECT_EQ(world.files.content("/tmp/out/a2"), "two");
  EXPECT_FALSE(world.files.fileExists("/tmp/out/b"));
}

TEST_F(CopyMatchingFiles, SearchesUnlessThePatternIsAnchored) {
  world.files.add("/logs/xay", "");
  EXPECT_EQ(copy("a"), 1U);
  EXPECT_EQ(copy("^a$"), 0U);
}

TEST_F(CopyMatchingFiles, CaseCounts) {
  world.files.add("/logs/ANKOR.txt", "");
  EXPECT_EQ(copy("ankor"), 0U);
}

TEST_F(CopyMatchingFiles, WhatCannotBeCopiedIsNotCounted) {
  world.files.add("/logs/a1", "");
  world.files.add("/logs/a2", "");
  world.files.add("/logs/a3", "");
  world.files.addFolder("/logs/a4");
  world.files.failAt("/logs/a1", "Permission denied");
  world.files.add("/tmp/out/a2", "was here before");
  EXPECT_EQ(copy("a"), 1U);
  EXPECT_EQ(world.files.content("/tmp/out/a2"), "was here before");
}

TEST_F(CopyMatchingFiles, AFolderThatCannotBeListedGivesNothing) {
  EXPECT_EQ(copyMatchingFiles("/missing", ".*", "/tmp/out", world.environment), 0U);
}

TEST_F(CopyMatchingFiles, APatternThatIsNoneMatchesNothing) {
  world.files.add("/logs/a", "");
  EXPECT_EQ(copy("("), 0U);
  EXPECT_EQ(copy("[z-a]"), 0U);
}

TEST_F(CopyMatchingFiles, TheLongestNamesAreSearchedAndLongerOnesCannotBe) {
  world.files.add("/logs/ankor_" + std::string(245, 'x') + ".txt", "");
  world.files.add("/logs/ankor_" + std::string(100'000, 'x') + ".txt", "");
  EXPECT_EQ(copy("^(?:ankor)(?:|_\\w+)\\.txt$"), 1U);
}

// A language in which the hyphen is part of words.
class HyphenIsALetter final : public std::ctype<char> {
 public:
  HyphenIsALetter() : std::ctype<char>(_table) {
    std::copy_n(classic_table(), table_size, _table);
    _table[static_cast<unsigned char>('-')] |= alnum | alpha;
  }

 private:
  mask _table[table_size] = {};
};

TEST_F(CopyMatchingFiles, WhatIsAWordDoesNotDependOnTheUsersLanguage) {
  const std::locale before = std::locale::global(std::locale(std::locale::classic(), new HyphenIsALetter));
  const auto names = selected(7, {"ankor_a-b.txt", "ankor_ab.txt"});
  std::locale::global(before);
  EXPECT_THAT(names, ElementsAre("ankor_ab.txt"));
}

TEST_F(CopyMatchingFiles, EnginesTextsAreAStemThenNothingOrAnUnderscoreAndWord) {
  EXPECT_THAT(selected(7, {"ankor.txt", "bexil_1.txt", "cordo_a_B2.txt", "dravi_.txt", "ankor1.txt",
                           "ankor_a-b.txt", "xankor.txt", "ankor.txt.1", "ankor.log", "ankorxtxt", "eskol.txt",
                           "Ankor.txt", "ankor.txt\n", "x\nankor.txt", "ankor_a\nb.txt"}),
              ElementsAre("ankor.txt", "bexil_1.txt", "cordo_a_B2.txt"));
}

TEST_F(CopyMatchingFiles, EnginesLogsAreAStemThenNothingOrAnUnderscoreAndWord) {
  EXPECT_THAT(selected(8, {"eskol.log", "fimra_2026.log", "gulden_x.log", "gulden_.log", "ankor.log", "fimra.txt"}),
              ElementsAre("eskol.log", "fimra_2026.log", "gulden_x.log"));
}

TEST_F(CopyMatchingFiles, CrashReportsAreTheHelpersOnly) {
  EXPECT_THAT(selected(11, {"ZPKHelper_2026-03-05 (host).crash", "com.tarnwick.WrenHelper_.crash",
                            "comXtarnwick.WrenHelper_1.crash", "ZPKHelper.crash", "ZPKHelper_1.crash.gz",
                            "zpkhelper_1.crash", "Other_1.crash"}),
              ElementsAre("ZPKHelper_2026-03-05 (host).crash", "com.tarnwick.WrenHelper_.crash"));
}

}  // namespace
}  // namespace zpk
