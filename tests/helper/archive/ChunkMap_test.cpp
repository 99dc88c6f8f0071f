#include "helper/archive/ChunkMap.h"

#include <gtest/gtest.h>

#include "helper/archive/TestFiles.h"

namespace zpk {
namespace {

using test::ScratchFolder;

ChunkHash hashNumber(std::uint64_t number) {
  return hashOfChunk(std::as_bytes(std::span(&number, 1)), 1);
}

void writeMap(const ScratchFolder& folder, const std::vector<std::uint64_t>& chunks) {
  ChunkMapWriter writer(test::createFile(folder, "a.map"), 16384, 42);
  for (const std::uint64_t chunk : chunks) ASSERT_TRUE(writer.add(chunk, hashNumber(chunk)).hasValue());
  const CancelFlag never;
  ASSERT_TRUE(writer.finish(never).hasValue());
}

TEST(ChunkMap, HashesAreFoundByTheirChunk) {
  const ScratchFolder folder;
  std::vector<std::uint64_t> chunks = {0, 1, 2, 10, 1'000'000'000};
  for (std::uint64_t i = 5000; i < 100'000; ++i) chunks.push_back(1'000'000'000 + i);
  writeMap(folder, chunks);
  auto map = ChunkMapReader::open(test::openFile(folder, "a.map"));
  ASSERT_TRUE(map.hasValue());
  EXPECT_EQ(map->count(), chunks.size());
  EXPECT_EQ(map->chunkSize(), 16384U);
  EXPECT_EQ(map->seed(), 42U);
  for (const std::uint64_t chunk : chunks) ASSERT_EQ(**map->hashOf(chunk), hashNumber(chunk)) << chunk;
  for (const std::uint64_t chunk : {3U, 9U, 11U}) EXPECT_FALSE(map->hashOf(chunk)->has_value());
  EXPECT_EQ(map->nextChunk(3), 10U);
  EXPECT_EQ(map->nextChunk(1'000'100'000), std::nullopt);
}

TEST(ChunkMap, AnEmptyMapIsAMap) {
  const ScratchFolder folder;
  writeMap(folder, {});
  auto map = ChunkMapReader::open(test::openFile(folder, "a.map"));
  ASSERT_TRUE(map.hasValue());
  EXPECT_FALSE(map->hashOf(0)->has_value());
}

TEST(ChunkMap, TheSeedChangesEveryHash) {
  const ByteBuffer chunk = test::randomBytes(16384, 1);
  EXPECT_NE(hashOfChunk(chunk, 1), hashOfChunk(chunk, 2));
}

TEST(ChunkMap, DamagedHeadersAndRunsAreRefused) {
  const ScratchFolder folder;
  writeMap(folder, {1, 2, 3, 100, 101, 4000});
  const std::string sound = test::readAll(folder / "a.map");
  std::vector<std::size_t> places;
  for (std::size_t i = 0; i < 56; ++i) {
    if (i < 12 || i >= 16) places.push_back(i);
  }
  for (std::size_t i = 4096 + 6 * 16; i < sound.size(); ++i) places.push_back(i);
  for (const std::size_t place : places) {
    std::string bytes = sound;
    bytes[place] = static_cast<char>(bytes[place] ^ 0x40);
    test::writeAll(folder / "b.map", bytes);
    EXPECT_FALSE(ChunkMapReader::open(test::openFile(folder, "b.map")).hasValue()) << place;
  }
  for (const std::size_t size : {std::size_t{0}, std::size_t{55}, std::size_t{4096}, sound.size() - 1}) {
    test::writeAll(folder / "b.map", sound.substr(0, size));
    EXPECT_FALSE(ChunkMapReader::open(test::openFile(folder, "b.map")).hasValue()) << size;
  }
}

}  // namespace
}  // namespace zpk
