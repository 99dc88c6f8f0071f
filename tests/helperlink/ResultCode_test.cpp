#include "helperlink/ResultCode.h"

#include <gtest/gtest.h>

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
