#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <thread>

#include "platform/posix/FileDescriptor.h"
#include "platform/posix/Log_posix.h"
#include "support/TemporaryFolder.h"

namespace zpk {
namespace {

TEST(VisibleLine, LeavesPlainTextOfAnyScriptAlone) {
  EXPECT_EQ(visibleLine("ZPKD::Reconnect"), "ZPKD::Reconnect");
  EXPECT_EQ(visibleLine("Größe 日本 😀"), "Größe 日本 😀");
  EXPECT_EQ(visibleLine(""), "");
}

TEST(VisibleLine, ShowsControlCharactersAsTheirSymbols) {
  EXPECT_EQ(visibleLine("a\nzpk[1]: forged"), "a␊zpk[1]: forged");
  EXPECT_EQ(visibleLine("\r\t\x1B[2J\x7F"), "␍␉␛[2J␡");
  EXPECT_EQ(visibleLine(std::string_view("\0", 1)), "␀");
}

TEST(VisibleLine, DropsLineFeedsAtTheVeryEnd) {
  EXPECT_EQ(visibleLine("\nNo path.\n\n"), "␊No path.");
}

TEST(VisibleLine, ShowsTheNumbersOfCharactersThatSteerTerminalsOrTurnText) {
  EXPECT_EQ(visibleLine("a\u009B2Jb"), "a<U+009B>2Jb");
  EXPECT_EQ(visibleLine("a\u202Eb\u2066c\u200Fd\u2028e"), "a<U+202E>b<U+2066>c<U+200F>d<U+2028>e");
}

TEST(VisibleLine, ShowsTheValuesOfBytesThatAreNotUTF8) {
  EXPECT_EQ(visibleLine("\xFFz"), "<FF>z");
  EXPECT_EQ(visibleLine("\xE2\x90"), "<E2><90>");
  EXPECT_EQ(visibleLine("\xC0\xAF"), "<C0><AF>") << "overlong";
  EXPECT_EQ(visibleLine("\xE0\x80\xAF"), "<E0><80><AF>") << "overlong";
  EXPECT_EQ(visibleLine("\xED\xA0\x80"), "<ED><A0><80>") << "surrogate";
  EXPECT_EQ(visibleLine("\xF4\x90\x80\x80"), "<F4><90><80><80>") << "beyond Unicode";
  EXPECT_EQ(visibleLine("\xF0\x90\x80\x80"), "\xF0\x90\x80\x80") << "the first one of four bytes";
}

TEST(VisibleLine, CutsWhatIsTooLongAtACharacterAndSaysSo) {
  EXPECT_EQ(visibleLine(std::string(8192, 'a')), std::string(8192, 'a'));
  EXPECT_EQ(visibleLine(std::string(8193, 'a')), std::string(8189, 'a') + "…");
  std::string wide;
  for (int i = 0; i < 5000; ++i) wide += "ö";
  const std::string cut = visibleLine(wide);
  EXPECT_EQ(cut, wide.substr(0, 8188) + "…");
  EXPECT_LE(cut.size(), 8192u);
}

TEST(PosixLog, BeginsEachLineWithTheProgramAndItsProcess) {
  const TemporaryFolder folder;
  folder.put("log", "");
  const FileDescriptor file(::open(folder.path("log").c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
  PosixLog log("zpk", file.get());
  log.line("ZPKD::Reconnect");
  log.line("two\nlines");
  const std::string head = "zpk[" + std::to_string(::getpid()) + "]: ";
  EXPECT_EQ(folder.get("log"), head + "ZPKD::Reconnect\n" + head + "two␊lines\n");
}

TEST(PosixLog, LinesOfSeveralThreadsDoNotMix) {
  const TemporaryFolder folder;
  folder.put("log", "");
  const FileDescriptor file(::open(folder.path("log").c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
  PosixLog log("zpk", file.get());
  std::vector<std::thread> writers;
  for (char character = 'a'; character < 'e'; ++character) {
    writers.emplace_back([&log, character] {
      for (int i = 0; i < 200; ++i) log.line(std::string(200, character));
    });
  }
  for (std::thread& writer : writers) writer.join();

  std::istringstream lines(folder.get("log"));
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count) {
    const std::string text = line.substr(line.find(' ') + 1);
    EXPECT_EQ(text, std::string(200, text[0]));
  }
  EXPECT_EQ(count, 800);
}

TEST(PosixLog, ADescriptorThatCannotBeWrittenLosesTheLineAndNothingElse) {
  const FileDescriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
  ASSERT_TRUE(full);
  PosixLog("zpk", full.get()).line("lost");
  PosixLog("zpk", -1).line("lost");
}

}  // namespace
}  // namespace zpk
