#include <gtest/gtest.h>

#include "records/RLDArcDisk.h"
#include "records/RLDArcPartition.h"
#include "records/ZPKDisk.h"
#include "tests/records/RecordSamples.h"

namespace zpk {
namespace {

// The record of the class with its required keys alone.
template <class R>
R withRequiredKeysAlone(const R& full) {
  Dictionary keys;
  for (const auto& [key, value] : keyedForm(full)) {
    if (value.isBytes()) keys.set(key, value);
  }
  return R(KeyedDecoder(keys));
}

TEST(AbsentKeys, OfAPartitionReadAsNothing) {
  const RLDArcPartition partition = withRequiredKeysAlone(RLDArcPartition(samples::fullPartition(), "/p"));
  EXPECT_EQ(partition.partNumber(), 0xf0000001);
  EXPECT_FALSE(partition.isResizable());
  EXPECT_FALSE(partition.isSystem());
  EXPECT_EQ(partition.gptTypeGUID(), std::nullopt);
  EXPECT_TRUE(partition.serialNumber().isNull());
  EXPECT_EQ(partition.mountPoint(), std::nullopt);
  EXPECT_EQ(partition.fileSystemType(), 0);
  EXPECT_EQ(partition.name(), std::nullopt);
  EXPECT_EQ(partition.bsdName(), std::nullopt);
  EXPECT_EQ(partition.indexFilePath(), std::nullopt);
}

TEST(AbsentKeys, OfADiskReadAsNothing) {
  const RLDArcDisk disk = withRequiredKeysAlone(RLDArcDisk(samples::fullDisk(), "/d"));
  EXPECT_EQ(disk.diskNumber(), 0xf0000001);
  EXPECT_EQ(disk.name(), std::nullopt);
  EXPECT_EQ(disk.gptID(), std::nullopt);
  EXPECT_EQ(disk.fields().partitions, std::nullopt);
  EXPECT_EQ(disk.iconPath(), std::nullopt);
  EXPECT_EQ(disk.partitioningSchemes(), 0);
  EXPECT_EQ(disk.bsdName(), std::nullopt);
  EXPECT_EQ(disk.filePath(), std::nullopt);
  EXPECT_EQ(disk.indexFilePath(), std::nullopt);
}

TEST(AbsentKeys, OfAClassifiedDiskReadAsNoFindings) {
  const ZPKDisk disk = withRequiredKeysAlone(*ZPKDisk::diskWithDisk(samples::disk("ehrw")));
  EXPECT_FALSE(disk.isBootCamp());
  EXPECT_FALSE(disk.isRestoreTarget());
  EXPECT_FALSE(disk.isEmpty());
  EXPECT_EQ(disk.objectForKeyedSubscript("winPartition"), nullptr);
}

}  // namespace
}  // namespace zpk
