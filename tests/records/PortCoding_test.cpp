#include "records/PortCoding.h"

#include <gtest/gtest.h>

#include "records/ZPKArchive.h"
#include "records/ZPKDisk.h"
#include "tests/records/RecordSamples.h"

namespace zpk {
namespace {

template <class R>
class PortCoding : public testing::Test {};

using RecordsAlwaysCopied = testing::Types<RLDPartition, RLDDisk, RLDArcPartition, RLDArcDisk, RLDArchive,
                                           RLDArchiveItem, ZPKArchive, ZPKDisk>;
TYPED_TEST_SUITE(PortCoding, RecordsAlwaysCopied);

TYPED_TEST(PortCoding, ARecordGoesAsACopyWhateverIsAsked) {
  EXPECT_EQ(replacementObjectForPortCoder<TypeParam>(PortRequest::ByCopy), PortReplacement::Copy);
  EXPECT_EQ(replacementObjectForPortCoder<TypeParam>(PortRequest::ByReference), PortReplacement::Copy);
}

TEST(PortCodingOfTMBGUID, AnIdentifierHonoursTheWishForAReference) {
  EXPECT_EQ(replacementObjectForPortCoder<TMBGUID>(PortRequest::ByCopy), PortReplacement::Copy);
  EXPECT_EQ(replacementObjectForPortCoder<TMBGUID>(PortRequest::ByReference), PortReplacement::Proxy);
}

TEST(PortCodingOfAStatus, EveryRecordInItArrivesAsANewObjectOfItsOwnClass) {
  const std::vector<std::shared_ptr<const Record>> records = {
      std::make_shared<const TMBGUID>(*TMBGUID::GUIDWithGPTType(TMBGPTType::AppleBoot)),
      std::make_shared<const RLDPartition>(samples::fullPartition()),
      std::make_shared<const RLDArcPartition>(samples::fullPartition(), "/p"),
      std::make_shared<const RLDDisk>(samples::fullDisk()),
      std::make_shared<const RLDArcDisk>(samples::fullDisk(), "/d"),
      std::make_shared<const RLDArchiveItem>(samples::fullArchiveItem()),
      std::make_shared<const RLDArchive>(samples::fullArchive()),
      std::make_shared<const ZPKArchive>(samples::fullArchive()),
      ZPKDisk::diskWithDisk(samples::disk("ehrw")),
  };
  const Value status(Dictionary{{"disks", Array(records.begin(), records.end())}, {"statetime", 17}});
  const auto arrived = unarchivedValue(archivedData(status), recordClasses());
  ASSERT_TRUE(arrived) << arrived.error().reason;
  EXPECT_EQ(*arrived, status);
  const Array& copies = *(*arrived->dictionary())["disks"].array();
  ASSERT_EQ(copies.size(), records.size());
  for (std::size_t i = 0; i < records.size(); ++i) {
    EXPECT_EQ(copies[i].record()->className(), records[i]->className());
    EXPECT_NE(copies[i].record(), records[i]);
  }
}

}  // namespace
}  // namespace zpk
