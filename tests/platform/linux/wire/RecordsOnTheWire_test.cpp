#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/wire/WireForm.h"
#include "platform/linux/wire/WireMessage.h"
#include "records/ZPKArchive.h"
#include "records/ZPKDisk.h"
#include "tests/records/RecordSamples.h"

namespace zpk::tests {
namespace {

using testing::HasSubstr;

// The system's own records in the wire form: a status with every class in it, whole and damaged.
class RecordsOnTheWire : public testing::Test {
 protected:
  Expected<Dictionary, WireError> crossed(const Dictionary& status) {
    const BusMessageHandle message = messages.empty();
    const auto appended = appendDictionary(message.get(), status);
    if (!appended) return appended.error();
    WireMessages::seal(message.get());
    return readDictionary(message.get(), recordClasses());
  }

  // What the receiver says of a record of that class with those keys.
  Expected<Dictionary, WireError> received(const Record& record, const Dictionary& keys) {
    return crossed(Dictionary{{"r", std::make_shared<const Damaged>(record.className(), keys)}});
  }
  void expectMalformed(const Record& record, const Dictionary& keys, std::string_view key) {
    const auto result = received(record, keys);
    ASSERT_FALSE(result) << record.className() << " " << key;
    EXPECT_EQ(result.error().kind, WireError::Kind::malformed);
    EXPECT_THAT(result.error().reason, HasSubstr("\"" + std::string(key) + "\""));
  }

  // Sends any keys under any class name.
  class Damaged final : public Record {
   public:
    Damaged(std::string_view name, Dictionary keys) : _name(name), _keys(std::move(keys)) {}
    std::string_view className() const override { return _name; }
    void encodeWithCoder(KeyedEncoder& coder) const override {
      for (const auto& [key, value] : _keys) coder.encodeObject(value, key);
    }

   private:
    std::string _name;
    Dictionary _keys;
  };

  WireMessages messages;
};

std::vector<std::shared_ptr<const Record>> oneOfEachClass() {
  return {std::make_shared<const TMBGUID>(*TMBGUID::GUIDWithGPTType(TMBGPTType::AppleBoot)),
          std::make_shared<const RLDPartition>(samples::fullPartition()),
          std::make_shared<const RLDArcPartition>(samples::fullPartition(), "/p"),
          std::make_shared<const RLDDisk>(samples::fullDisk()),
          std::make_shared<const RLDArcDisk>(samples::fullDisk(), "/d"),
          std::make_shared<const RLDArchiveItem>(samples::fullArchiveItem()),
          std::make_shared<const RLDArchive>(samples::fullArchive()),
          std::make_shared<const ZPKArchive>(samples::fullArchive()),
          ZPKDisk::diskWithDisk(samples::disk("e-hrw"))};
}

TEST_F(RecordsOnTheWire, EveryClassCrossesEqualAndAsItself) {
  for (const auto& record : oneOfEachClass()) {
    const auto status = crossed(Dictionary{{"r", record}});
    ASSERT_TRUE(status) << record->className() << ": " << status.error().reason;
    const auto copy = (*status)["r"].record();
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->className(), record->className());
    EXPECT_EQ(*copy, *record);
  }
}

TEST_F(RecordsOnTheWire, WhatIsMissingStaysMissing) {
  const auto status =
      crossed(Dictionary{{"partition", std::make_shared<const RLDPartition>(RLDPartition::Fields{})},
                         {"disk", std::make_shared<const RLDDisk>(RLDDisk::Fields{})},
                         {"archive", std::make_shared<const RLDArchive>(RLDArchive::Fields{})}});
  ASSERT_TRUE(status) << status.error().reason;
  EXPECT_EQ((*status)["partition"].recordOf<RLDPartition>()->name(), std::nullopt);
  EXPECT_EQ((*status)["disk"].recordOf<RLDDisk>()->fields().partitions, std::nullopt);
  EXPECT_EQ((*status)["archive"].recordOf<RLDArchive>()->fields().items, std::nullopt);
}

TEST_F(RecordsOnTheWire, ARequiredKeyThatIsMissingShortOrOfAnotherKindSpoilsTheStatus) {
  for (const auto& record : oneOfEachClass()) {
    const Dictionary good = keyedForm(*record);
    for (const auto& [key, value] : good) {
      if (!value.isBytes()) continue;
      Dictionary keys = good;
      keys.remove(key);
      expectMalformed(*record, keys, key);
      keys.set(key, Bytes(value.bytes()->begin(), value.bytes()->end() - 1));
      expectMalformed(*record, keys, key);
      keys.set(key, 5);
      expectMalformed(*record, keys, key);
    }
  }
}

TEST_F(RecordsOnTheWire, OfARequiredKeyThatIsLongTheFirstBytesCount) {
  for (const auto& record : oneOfEachClass()) {
    Dictionary keys = keyedForm(*record);
    for (const auto& [key, value] : keyedForm(*record)) {
      if (!value.isBytes()) continue;
      Bytes longer(value.bytes()->begin(), value.bytes()->end());
      longer.push_back(0xee);
      keys.set(key, longer);
    }
    const auto status = received(*record, keys);
    ASSERT_TRUE(status) << status.error().reason;
    EXPECT_EQ(*(*status)["r"].record(), *record);
  }
}

TEST_F(RecordsOnTheWire, AnotherClassWhereOneIsExpectedSpoilsTheStatus) {
  const RLDDisk disk(samples::fullDisk());
  Dictionary keys = keyedForm(disk);
  keys.set("gptID", std::make_shared<const RLDPartition>(samples::fullPartition()));
  expectMalformed(disk, keys, "gptID");
  keys = keyedForm(disk);
  keys.set("partitions", Array{std::make_shared<const TMBGUID>()});
  expectMalformed(disk, keys, "partitions");
  keys = keyedForm(disk);
  keys.set("partitions", Array{std::make_shared<const Damaged>("NoSuchClass", Dictionary{})});
  expectMalformed(disk, keys, "NoSuchClass");
}

}  // namespace
}  // namespace zpk::tests
