#include "base/ByteBlock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>

namespace zpk {
namespace {

Bytes counted(std::size_t size) {
  Bytes bytes(size);
  std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
  return bytes;
}

TEST(ByteBlock, KeepsItsBytesOnBothSidesOfWhatFitsInside) {
  for (const std::size_t size : {std::size_t{0}, std::size_t{1}, ByteBlock::kInline, ByteBlock::kInline + 1}) {
    const Bytes bytes = counted(size);
    EXPECT_EQ(ByteBlock(bytes).toBytes(), bytes) << size;
    EXPECT_EQ(ByteBlock(Bytes(bytes)).toBytes(), bytes) << size;
  }
}

TEST(ByteBlock, ACopyOfALongOneSharesItsBytes) {
  const ByteBlock block(counted(1000));
  const ByteBlock copy = block;
  EXPECT_EQ(copy.data(), block.data());
}

TEST(ByteBlock, AShortOneDoesNotLeanOnWhatItWasMadeFrom) {
  Bytes bytes = counted(8);
  const ByteBlock block(bytes);
  bytes.assign(8, 0xff);
  EXPECT_EQ(block.toBytes(), counted(8));
}

TEST(ByteBlock, EqualsByLengthAndBytes) {
  EXPECT_EQ(ByteBlock(counted(100)), ByteBlock(counted(100)));
  EXPECT_FALSE(ByteBlock(counted(23)) == ByteBlock(counted(24)));
  EXPECT_FALSE(ByteBlock(Bytes{1, 2}) == ByteBlock(Bytes{1, 3}));
}

}  // namespace
}  // namespace zpk
