#include <gtest/gtest.h>

#include "helper/service/BusSubscriberLink.h"
#include "helper/service/TestBus.h"
#include "helperlink/StatusRecord.h"

namespace zpk::test {
namespace {

class Lines final : public Log {
 public:
  void line(std::string_view text) override { lines.emplace_back(text); }
  std::vector<std::string> lines;
};

TEST(StatusMessage, OneThatIsTooLargeGoesWithoutItsLog) {
  const TestBus bus;
  const BusHandle connection = bus.open();
  const auto make = [&] {
    sd_bus_message* message = nullptr;
    sd_bus_message_new_signal(connection.get(), &message, "/a", "a.b", "c");
    return BusMessageHandle(message);
  };
  const auto sent = [&](std::size_t lines, Lines& log) {
    Dictionary status;
    statuskey::stateTime.set(status, 5);
    statuskey::fullLog.set(status, Array(lines, Value(std::string(1024, 'x'))));
    const BusMessageHandle message = messageWithStatus(make, status, log);
    sd_bus_message_seal(message.get(), 1, 0);
    sd_bus_message_rewind(message.get(), 1);
    return *readDictionary(message.get(), recordClasses());
  };
  Lines fits;
  EXPECT_TRUE(statuskey::fullLog.isPresentIn(sent(1000, fits)));
  EXPECT_TRUE(fits.lines.empty());
  Lines tooLarge;
  const Dictionary shorter = sent(std::size_t{17} << 10, tooLarge);
  EXPECT_FALSE(statuskey::fullLog.isPresentIn(shorter));
  EXPECT_EQ(statuskey::stateTime.read(shorter), 5);
  EXPECT_EQ(tooLarge.lines.size(), 1U);
}

}  // namespace
}  // namespace zpk::test
