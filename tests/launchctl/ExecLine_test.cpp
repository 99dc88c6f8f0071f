#include "tools/launchctl/ExecLine.h"

#include <gtest/gtest.h>

#include <random>

namespace zpk {
namespace {

using Arguments = std::vector<std::string>;

TEST(ExecLine, TheBackupCommand) {
  EXPECT_EQ(execLine({"/usr/bin/zpkctl", "backup"}), R"(":/usr/bin/zpkctl" "backup")");
}

TEST(ExecLine, WhatMeansSomethingToTheServiceManagerIsEscaped) {
  EXPECT_EQ(execLine({"/a b", "50%", "$HOME", ";", "", "-@:+!", "\"q\"", "\\", "#"}),
            R"(":/a b" "50%%" "$HOME" ";" "" "-@:+!" "\"q\"" "\\" "#")");
}

TEST(ExecLine, TheLineIsOneLineOfPlainText) {
  EXPECT_EQ(execLine({"/p", "a\nb\tc\x7f", "\xc3\xa9"}), R"(":/p" "a\x0ab\x09c\x7f" "\xc3\xa9")");
}

TEST(ExecLine, ReadingGivesBackWhateverWasWritten) {
  std::mt19937 random(1);
  std::uniform_int_distribution<int> byte(1, 255);
  std::uniform_int_distribution<std::size_t> length(0, 12);
  for (int round = 0; round < 2'000; ++round) {
    Arguments arguments(1 + length(random) / 3);
    for (std::string& argument : arguments) {
      argument.resize(length(random));
      for (char& character : argument) character = static_cast<char>(byte(random));
    }
    const std::string line = execLine(arguments);
    EXPECT_EQ(line.find('\n'), std::string::npos);
    EXPECT_EQ(argumentsOfExecLine(line), arguments);
  }
}

TEST(ExecLine, OtherLinesAreNotRead) {
  for (const char* line :
       {"", "/usr/bin/zpkctl backup", R"("/p")", R"("")", R"(":/p)", R"(":/p" )", R"(":/p"  "a")", R"(":/p""a")",
        R"(":/p" "\x4")", R"(":/p" "\xzz")", R"(":/p" "%h")", R"(":/p" "a\)"}) {
    EXPECT_EQ(argumentsOfExecLine(line), std::nullopt) << line;
  }
}

}  // namespace
}  // namespace zpk
