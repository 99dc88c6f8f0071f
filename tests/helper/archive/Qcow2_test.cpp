#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zstd.h>

#include <algorithm>
#include <fstream>
#include <map>

#include "helper/archive/Qcow2Format.h"
#include "helper/archive/Qcow2Reader.h"
#include "helper/archive/Qcow2Rewriter.h"
#include "helper/archive/Qcow2Writer.h"
#include "helper/archive/TestFiles.h"

namespace zpk {
namespace {

using test::ScratchFolder;

ByteBuffer frameOf(ByteSpan content) {
  ByteBuffer frame(ZSTD_compressBound(content.size()));
  frame.resize(ZSTD_compress(frame.data(), frame.size(), content.data(), content.size(), 1));
  return frame;
}

ByteBuffer compressibleCluster(std::size_t size, unsigned seed) {
  ByteBuffer content = test::randomBytes(size, seed);
  for (std::size_t i = seed % 4000; i < size; ++i) content[i] = static_cast<std::byte>(i / 64 + seed);
  return content;
}

// Writes the clusters as the engine would: compressed where that helps.
void writeImage(const ScratchFolder& folder, const std::string& name, Qcow2Writer::Options options,
                const std::map<std::uint64_t, ByteBuffer>& clusters) {
  Qcow2Writer writer(test::createFile(folder, name), options);
  for (const auto& [index, content] : clusters) {
    const ByteBuffer frame = frameOf(content);
    const ArchiveResult<Done> added = isAllZero(content)                    ? writer.addZeros(index)
                                      : frame.size() + 512 < content.size() ? writer.addCompressed(index, frame)
                                                                            : writer.addPlain(index, content);
    ASSERT_TRUE(added.hasValue());
  }
  const CancelFlag never;
  ASSERT_TRUE(writer.finish(never).hasValue());
}

std::map<std::uint64_t, ByteBuffer> mixedClusters(std::size_t size, std::uint64_t count, std::uint64_t apart) {
  std::map<std::uint64_t, ByteBuffer> clusters;
  for (unsigned i = 0; i < count; ++i) {
    clusters[i * apart] = i % 3 == 0 ? test::randomBytes(size, i) : compressibleCluster(size, i);
  }
  return clusters;
}

std::string rawOf(const std::map<std::uint64_t, ByteBuffer>& clusters, std::size_t clusterSize,
                  std::uint64_t size) {
  std::string raw(size, '\0');
  for (const auto& [index, content] : clusters) {
    const std::size_t place = index * clusterSize;
    std::memcpy(&raw[place], content.data(), std::min<std::size_t>(clusterSize, size - place));
  }
  return raw;
}

class Qcow2 : public testing::TestWithParam<unsigned> {
 protected:
  std::size_t clusterSize() const { return std::size_t{1} << GetParam(); }
  ScratchFolder folder;
};

INSTANTIATE_TEST_SUITE_P(BothClusterSizes, Qcow2, testing::Values(14U, 16U));

TEST_P(Qcow2, AnImageOfMixedClustersIsSoundAndExactForTheToolsOfTheField) {
  const std::uint64_t size = 600 * clusterSize() + 512;  // Ends within a cluster.
  auto clusters = mixedClusters(clusterSize(), 300, 2);
  ByteBuffer last(clusterSize());
  last[5] = std::byte{7};
  clusters[600] = last;
  writeImage(folder, "a.pvhd", {size, GetParam(), ""}, clusters);

  EXPECT_THAT(test::mustRun("/usr/bin/qemu-img", {"check", "-f", "qcow2", folder / "a.pvhd"}),
              testing::HasSubstr("No errors were found"));
  test::mustRun("/usr/bin/qemu-img", {"convert", "-f", "qcow2", "-O", "raw", folder / "a.pvhd", folder / "a.raw"});
  EXPECT_TRUE(test::readAll(folder / "a.raw") == rawOf(clusters, clusterSize(), size));
}

TEST_P(Qcow2, AnEmptyImageIsSound) {
  writeImage(folder, "a.pvhd", {1 << 20, GetParam(), ""}, {});
  EXPECT_THAT(test::mustRun("/usr/bin/qemu-img", {"check", "-f", "qcow2", folder / "a.pvhd"}),
              testing::HasSubstr("No errors were found"));
}

TEST_P(Qcow2, AnImageOfManyTablesAndCountBlocksIsSound) {
  // With small clusters more than one block of reference counts, each for 8,192 clusters.
  const std::uint64_t count = 140'000'000 / clusterSize() * (GetParam() == 14 ? 2 : 1);
  ByteBuffer content = test::randomBytes(clusterSize(), 1);
  Qcow2Writer writer(test::createFile(folder, "a.pvhd"), {clusterSize() * count * 100, GetParam(), ""});
  const ByteBuffer frame = frameOf(compressibleCluster(clusterSize(), 2));
  for (std::uint64_t i = 0; i < count; ++i) {
    const auto added = i % 4 == 3 ? writer.addCompressed(i * 100, frame) : writer.addPlain(i * 100, content);
    ASSERT_TRUE(added.hasValue());
  }
  const CancelFlag never;
  ASSERT_TRUE(writer.finish(never).hasValue());
  EXPECT_THAT(test::mustRun("/usr/bin/qemu-img", {"check", "-f", "qcow2", folder / "a.pvhd"}),
              testing::HasSubstr("No errors were found"));
}

TEST_P(Qcow2, TheReaderGivesBackWhatWasWritten) {
  auto clusters = mixedClusters(clusterSize(), 100, 37);
  clusters[5] = ByteBuffer(clusterSize());
  writeImage(folder, "a.pvhd", {4000 * clusterSize(), GetParam(), ""}, clusters);
  auto reader = Qcow2Reader::open(test::openFile(folder, "a.pvhd"));
  ASSERT_TRUE(reader.hasValue());
  EXPECT_EQ(reader->clusterCount(), 4000U);

  std::vector<std::uint64_t> present;
  for (std::uint64_t next = 0;;) {
    const auto found = reader->nextPresent(next);
    ASSERT_TRUE(found.hasValue());
    if (!*found) break;
    present.push_back(**found);
    next = **found + 1;
  }
  std::vector<std::uint64_t> expected;
  for (const auto& entry : clusters) expected.push_back(entry.first);
  EXPECT_EQ(present, expected);

  ByteBuffer content(clusterSize());
  for (const auto& [index, written] : clusters) {
    ASSERT_TRUE(reader->read(index, content).hasValue());
    EXPECT_TRUE(content == written) << index;
  }
  EXPECT_EQ(*reader->kindOf(5), ClusterKind::Zeros);
  EXPECT_EQ(*reader->kindOf(6), ClusterKind::Absent);
}

// Read calls of this process so far.
std::uint64_t readCalls() {
  std::ifstream counts("/proc/self/io");
  for (std::string name; counts >> name;) {
    std::uint64_t count = 0;
    counts >> count;
    if (name == "syscr:") return count;
  }
  ADD_FAILURE() << "the kernel does not count calls";
  return 0;
}

TEST_P(Qcow2, NeighboursAreReadTogetherWhereThatIsWanted) {
  const auto clusters = mixedClusters(clusterSize(), 200, 3);
  writeImage(folder, "a.pvhd", {600 * clusterSize(), GetParam(), ""}, clusters);
  std::map<bool, std::uint64_t> calls;
  for (const bool gathers : {false, true}) {
    auto reader = Qcow2Reader::open(test::openFile(folder, "a.pvhd"));
    ASSERT_TRUE(reader.hasValue());
    if (gathers) reader->gatherReads();
    ByteBuffer content(clusterSize());
    const std::uint64_t before = readCalls();
    for (const auto& [index, written] : clusters) {
      const ArchiveResult<ClusterKind> kind = reader->read(index, content);
      ASSERT_TRUE(kind.hasValue());
      ASSERT_TRUE(content == written) << index;
      ASSERT_TRUE(*kind != ClusterKind::Compressed || std::ranges::equal(reader->frame(), frameOf(written)));
    }
    calls[gathers] = readCalls() - before;
  }
  EXPECT_GE(calls[false], clusters.size());
  EXPECT_LE(calls[true], clusters.size() / (GetParam() == 14 ? 10 : 5));
}

TEST_P(Qcow2, AClusterIsReadWhereItsNeighbourCannotBe) {
  // Eight plain clusters, and the file lost the last while it was open.
  std::map<std::uint64_t, ByteBuffer> clusters;
  for (unsigned i = 0; i < 8; ++i) clusters[i] = test::randomBytes(clusterSize(), i);
  writeImage(folder, "a.pvhd", {8 * clusterSize(), GetParam(), ""}, clusters);
  const std::string bytes = test::readAll(folder / "a.pvhd");
  const std::size_t last =
      bytes.find(std::string(reinterpret_cast<const char*>(clusters[7].data()), clusterSize()));
  ASSERT_NE(last, std::string::npos);
  auto reader = Qcow2Reader::open(test::openFile(folder, "a.pvhd"));
  reader->gatherReads();
  ASSERT_TRUE(reader->kindOf(0).hasValue());  // The table is read.
  std::filesystem::resize_file(folder / "a.pvhd", last);
  ByteBuffer content(clusterSize());
  for (unsigned i = 0; i < 7; ++i) {
    ASSERT_TRUE(reader->read(i, content).hasValue()) << i;
    EXPECT_TRUE(content == clusters[i]) << i;
  }
  EXPECT_EQ(reader->read(7, content).error().fault, ArchiveFault::ReadFailed);
}

TEST_P(Qcow2, ARewrittenImageIsReadTheSameWay) {
  auto clusters = mixedClusters(clusterSize(), 150, 3);
  writeImage(folder, "a.pvhd", {500 * clusterSize(), GetParam(), ""}, clusters);
  std::mt19937_64 random(GetParam());
  for (int round = 0; round < 4; ++round) {
    const ArchiveResult<OpenFile> parent = openFolder(folder.path());
    auto image = Qcow2Rewriter::open(std::move(*openForUpdateIn(*parent, "a.pvhd")));
    ASSERT_TRUE(image.hasValue());
    for (std::uint64_t i = 0; i < 450; i += 1 + random() % 20) {
      clusters[i] = compressibleCluster(clusterSize(), static_cast<unsigned>(random() % 4000));
      ASSERT_TRUE(image->putCompressed(i, frameOf(clusters[i])).hasValue());
    }
    const CancelFlag never;
    ASSERT_TRUE(image->prepare(never).hasValue() && image->switchOver().hasValue());
  }
  auto reader = Qcow2Reader::open(test::openFile(folder, "a.pvhd"));
  reader->gatherReads();
  ByteBuffer content(clusterSize());
  for (const auto& [index, written] : clusters) {
    ASSERT_TRUE(reader->read(index, content).hasValue());
    ASSERT_TRUE(content == written) << index;
  }
}

TEST_P(Qcow2, AChildShowsItsParentWhereItHoldsNothingAndHidesItWithZeros) {
  const std::uint64_t size = 100 * clusterSize();
  auto parent = mixedClusters(clusterSize(), 50, 2);
  writeImage(folder, "parent.pvhd", {size, GetParam(), ""}, parent);
  std::map<std::uint64_t, ByteBuffer> child;
  child[2] = compressibleCluster(clusterSize(), 99);
  child[4] = ByteBuffer(clusterSize());
  writeImage(folder, "child.pvhd", {size, GetParam(), "parent.pvhd"}, child);

  EXPECT_THAT(test::mustRun("/usr/bin/qemu-img", {"check", "-f", "qcow2", folder / "child.pvhd"}),
              testing::HasSubstr("No errors were found"));
  test::mustRun("/usr/bin/qemu-img",
                {"convert", "-f", "qcow2", "-O", "raw", folder / "child.pvhd", folder / "c.raw"});
  for (const auto& [index, content] : child) parent[index] = content;
  EXPECT_TRUE(test::readAll(folder / "c.raw") == rawOf(parent, clusterSize(), size));
  EXPECT_EQ(Qcow2Reader::open(test::openFile(folder, "child.pvhd"))->backingFile(), "parent.pvhd");
}

TEST_P(Qcow2, AnUnfinishedImageIsNoImage) {
  {
    Qcow2Writer writer(test::createFile(folder, "a.pvhd"), {1 << 24, GetParam(), ""});
    ASSERT_TRUE(writer.addPlain(0, test::randomBytes(clusterSize(), 1)).hasValue());
  }
  const auto reader = Qcow2Reader::open(test::openFile(folder, "a.pvhd"));
  ASSERT_FALSE(reader.hasValue());
  EXPECT_EQ(reader.error().fault, ArchiveFault::Damaged);
}

TEST_P(Qcow2, DamageAnywhereIsAnErrorOrHarmlessButNeverMore) {
  writeImage(folder, "a.pvhd", {1000 * clusterSize(), GetParam(), "p"}, mixedClusters(clusterSize(), 20, 41));
  const std::string sound = test::readAll(folder / "a.pvhd");
  std::mt19937_64 random(GetParam());
  ByteBuffer content(clusterSize());
  unsigned refused = 0;
  for (int round = 0; round < 400; ++round) {
    std::string bytes = sound;
    // Half of the damage goes to the header, the rest to the tables at the end and anywhere.
    const std::size_t end = round % 2 == 0 ? 120 : bytes.size();
    for (int i = 0; i < 8; ++i) bytes[random() % end] = static_cast<char>(random());
    if (round % 5 == 0) bytes.resize(random() % bytes.size());
    test::writeAll(folder / "b.pvhd", bytes);
    auto reader = Qcow2Reader::open(test::openFile(folder, "b.pvhd"));
    if (!reader) {
      ++refused;
      continue;
    }
    if (round % 3 == 0) reader->gatherReads();
    for (std::uint64_t i = 0; i < std::min<std::uint64_t>(reader->clusterCount(), 1000); ++i) {
      content.resize(reader->clusterSize());
      if (!reader->read(i, content)) ++refused;
    }
  }
  EXPECT_GT(refused, 100U);
}

TEST_P(Qcow2, ATableThatPointsOutsideTheFileIsDamage) {
  writeImage(folder, "a.pvhd", {100 * clusterSize(), GetParam(), ""}, mixedClusters(clusterSize(), 5, 1));
  std::string bytes = test::readAll(folder / "a.pvhd");
  const auto l1 = bigEndianAt<std::uint64_t>(std::as_bytes(std::span(bytes)), 40);
  putBigEndian(std::as_writable_bytes(std::span(bytes)), l1, std::uint64_t{0x8000'7F00'0000'0000});
  test::writeAll(folder / "a.pvhd", bytes);
  auto reader = Qcow2Reader::open(test::openFile(folder, "a.pvhd"));
  ASSERT_TRUE(reader.hasValue());
  const auto kind = reader->kindOf(0);
  ASSERT_FALSE(kind.hasValue());
  EXPECT_EQ(kind.error().fault, ArchiveFault::Damaged);
}

}  // namespace
}  // namespace zpk
