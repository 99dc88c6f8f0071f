#include "app/presentation/ByteSizeString.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <locale>
#include <sstream>

namespace zpk {
namespace {

TEST(ByteSizeString, CountsBelowAThousandAreBytes) {
  EXPECT_EQ(byteSizeString(0), "0 B");
  EXPECT_EQ(byteSizeString(1), "1 B");
  EXPECT_EQ(byteSizeString(999), "999 B");
}

TEST(ByteSizeString, ExactlyAThousandStaysInTheSmallerUnit) {
  EXPECT_EQ(byteSizeString(1000), "1000 B");
  EXPECT_EQ(byteSizeString(1001), "1 KB");
  EXPECT_EQ(byteSizeString(1'000'000), "1000 KB");
  EXPECT_EQ(byteSizeString(1'000'001), "1 MB");
  EXPECT_EQ(byteSizeString(1'000'000'000), "1000 MB");
  EXPECT_EQ(byteSizeString(1'000'000'000'000), "1000 GB");
  EXPECT_EQ(byteSizeString(1'000'000'000'000'000), "1000 TB");
  EXPECT_EQ(byteSizeString(1'000'000'000'000'000'000), "1000 PB");
}

TEST(ByteSizeString, HalvesGoToTheEvenNeighbour) {
  EXPECT_EQ(byteSizeString(1500), "2 KB");
  EXPECT_EQ(byteSizeString(2500), "2 KB");
  EXPECT_EQ(byteSizeString(2501), "3 KB");
  EXPECT_EQ(byteSizeString(3500), "4 KB");
  EXPECT_EQ(byteSizeString(998'500), "998 KB");
}

TEST(ByteSizeString, RoundsWithinTheUnit) {
  EXPECT_EQ(byteSizeString(999'499), "999 KB");
  // Rounded only after the unit was chosen.
  EXPECT_EQ(byteSizeString(999'501), "1000 KB");
  EXPECT_EQ(byteSizeString(500'107'862'016), "500 GB");
}

TEST(ByteSizeString, NeverGoesPastPetabytes) {
  EXPECT_EQ(byteSizeString(1'000'000'000'000'001), "1 PB");
  EXPECT_EQ(byteSizeString(UINT64_MAX), "18447 PB");
}

// Numbers in groups of two, as no formatter of sizes may write them.
class GroupedDigits final : public std::numpunct<char> {
 protected:
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\2"; }
};

TEST(ByteSizeString, DoesNotFollowTheProcessLocale) {
  const std::locale before = std::locale::global(std::locale(std::locale::classic(), new GroupedDigits));
  std::ostringstream grouped;
  grouped << 18447;
  const std::string size = byteSizeString(UINT64_MAX);
  std::locale::global(before);
  EXPECT_EQ(grouped.str(), "1.84.47");
  EXPECT_EQ(size, "18447 PB");
}

}  // namespace
}  // namespace zpk
