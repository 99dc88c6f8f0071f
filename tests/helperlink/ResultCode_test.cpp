#include "helperlink/ResultCode.h"

#include <gtest/gtest.h>

#include <set>

namespace zpk {
namespace {

TEST(ResultCode, EveryCodeHasItsMessage) {
  const EnglishLocalization english;
  EXPECT_EQ(resultCodeMessage(0, english), "Success");
  EXPECT_EQ(resultCodeMessage(1, english), "Disk not found");
  EXPECT_EQ(resultCodeMessage(2, english), "No archive target directory");
  EXPECT_EQ(resultCodeMessage(3, english), "Source disk not set");
  EXPECT_EQ(resultCodeMessage(4, english), "Archive path not set");
  EXPECT_EQ(resultCodeMessage(5, english), "Bad target disk");
  EXPECT_EQ(resultCodeMessage(6, english), "Service is busy");
  EXPECT_EQ(resultCodeMessage(7, english), "Bad index");
}

TEST(ResultCode, AnyOtherCodeHasNoDescription) {
  const EnglishLocalization english;
  EXPECT_EQ(resultCodeMessage(8, english), "No description");
  EXPECT_EQ(resultCodeMessage(0xffffffff, english), "No description");
}

TEST(ResultCode, MessagesAreTranslatedWithTheEnglishTextAsKey) {
  class Shouting final : public Localization {
   public:
    std::string localizedString(std::string_view key) const override { return "<" + std::string(key) + ">"; }
  };
  EXPECT_EQ(resultCodeMessage(1, Shouting()), "<Disk not found>");
  EXPECT_EQ(resultCodeMessage(99, Shouting()), "<No description>");
  EXPECT_EQ(resultCodeAdvice(3, Shouting()), "<Choose the Windows disk to protect first.>");
}

TEST(ResultCode, EveryCodeSaysWhatToDo) {
  const EnglishLocalization english;
  std::set<std::string> told;
  for (const ResultCodeRow& row : kResultCodes) {
    const std::string advice = resultCodeAdvice(static_cast<std::uint32_t>(row.code), english);
    EXPECT_GT(advice.size(), 20u) << row.message;
    EXPECT_TRUE(advice.ends_with('.')) << row.message;
    EXPECT_TRUE(told.insert(advice).second) << row.message << " says the same as another";
  }
  const std::string unknown = resultCodeAdvice(8, english);
  EXPECT_TRUE(told.insert(unknown).second);
  EXPECT_EQ(resultCodeAdvice(0xffffffff, english), unknown);
}

TEST(ResultCode, RowsStandAtTheirNumbers) {
  for (std::size_t i = 0; i < kResultCodes.size(); ++i)
    EXPECT_EQ(static_cast<std::size_t>(kResultCodes[i].code), i);
}

TEST(ResultCode, AMissingResultReadsAsSuccess) {
  EXPECT_EQ(resultCodeOf(Value()), 0u);
  EXPECT_EQ(resultCodeOf(Value(6u)), 6u);
  EXPECT_EQ(resultCodeOf(Value(7)), 7u);
}

TEST(ResultCode, IsReadAs32Bits) {
  EXPECT_EQ(resultCodeOf(Value((std::uint64_t{1} << 32) + 7)), 7u);
  EXPECT_EQ(resultCodeOf(Value(-1)), 0xffffffffu);
}

}  // namespace
}  // namespace zpk
