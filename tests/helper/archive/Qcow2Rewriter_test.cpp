#include "helper/archive/Qcow2Rewriter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <zstd.h>

#include <map>
#include <set>

#include "helper/archive/Qcow2Reader.h"
#include "helper/archive/Qcow2Writer.h"
#include "helper/archive/TestFiles.h"

namespace zpk {
namespace {

using Clusters = std::map<std::uint64_t, ByteBuffer>;

const CancelFlag never;

class Rewriter : public testing::TestWithParam<unsigned> {
 protected:
  static constexpr std::uint64_t clusterCount = 8300;  // Two tables at least.

  std::size_t clusterSize() const { return std::size_t{1} << GetParam(); }
  std::string path() const { return folder / "a.pvhd"; }

  // Incompressible, compressible or zeros.
  ByteBuffer someCluster() {
    const auto kind = random() % 8;
    if (kind == 0) return ByteBuffer(clusterSize());
    ByteBuffer bytes = test::randomBytes(clusterSize(), static_cast<unsigned>(random()));
    if (kind > 2)
      std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(random() % 3000), bytes.end(), std::byte{9});
    return bytes;
  }

  template <class Target>
  static ArchiveResult<Done> put(Target& target, std::uint64_t cluster, ByteSpan bytes) {
    if constexpr (requires { target.putZeros(cluster); }) {
      if (isAllZero(bytes)) return target.putZeros(cluster);
    } else {
      if (isAllZero(bytes)) return target.addZeros(cluster);
    }
    ByteBuffer frame(ZSTD_compressBound(bytes.size()));
    frame.resize(ZSTD_compress(frame.data(), frame.size(), bytes.data(), bytes.size(), 1));
    const bool isPlain = frame.size() > bytes.size() * 15 / 16;
    if constexpr (requires { target.putZeros(cluster); }) {
      return isPlain ? target.putPlain(cluster, bytes) : target.putCompressed(cluster, frame);
    } else {
      return isPlain ? target.addPlain(cluster, bytes) : target.addCompressed(cluster, frame);
    }
  }

  void writeImage(const std::string& backingFile = {}) {
    Qcow2Writer writer(test::createFile(folder, "a.pvhd"), {clusterCount * clusterSize(), GetParam(), backingFile});
    for (std::uint64_t i = 0; i < clusterCount; i += 1 + random() % 90) {
      content[i] = someCluster();
      ASSERT_TRUE(put(writer, i, content[i]).hasValue());
    }
    ASSERT_TRUE(writer.finish(never).hasValue());
  }

  Qcow2Rewriter open() {
    ArchiveResult<OpenFile> parent = openFolder(folder.path());
    ArchiveResult<Qcow2Rewriter> rewriter = Qcow2Rewriter::open(std::move(*openForUpdateIn(*parent, "a.pvhd")));
    EXPECT_TRUE(rewriter.hasValue()) << (rewriter ? "" : rewriter.error().text());
    return std::move(*rewriter);
  }

  // Gives some clusters another content; `content` is what the image has to read as afterwards.
  Clusters change(Qcow2Rewriter& rewriter) {
    Clusters next = content;
    for (std::uint64_t i = 0; i < clusterCount; i += 1 + random() % 150) {
      next[i] = someCluster();
      EXPECT_TRUE(put(rewriter, i, next[i]).hasValue());
    }
    return next;
  }

  void expectContent(const Clusters& expected) const {
    EXPECT_THAT(test::mustRun("/usr/bin/qemu-img", {"check", "-f", "qcow2", path()}),
                testing::HasSubstr("No errors were found"));
    expectReads(expected);
  }
  void expectReads(const Clusters& expected) const {
    auto reader = Qcow2Reader::open(test::openFile(folder, "a.pvhd"));
    ASSERT_TRUE(reader.hasValue());
    ByteBuffer read(clusterSize());
    // Each cluster with content, and its neighbours.
    std::set<std::uint64_t> looked;
    for (const auto& [i, bytes] : expected) looked.insert({i, i + 1});
    for (const std::uint64_t i : looked) {
      ASSERT_TRUE(reader->read(i, read).hasValue());
      const auto found = expected.find(i);
      ASSERT_TRUE(found == expected.end() ? isAllZero(read) : read == found->second) << i;
    }
  }

  test::ScratchFolder folder;
  std::mt19937_64 random{GetParam()};
  Clusters content;
};

INSTANTIATE_TEST_SUITE_P(BothClusterSizes, Rewriter, testing::Values(14U, 16U));

TEST_P(Rewriter, AnImageIsSoundAndExactAfterManyRewritings) {
  writeImage();
  for (int round = 0; round < 6; ++round) {
    Qcow2Rewriter rewriter = open();
    const std::uint64_t place = rewriter.tablesPlace();
    const Clusters next = change(rewriter);
    ASSERT_TRUE(rewriter.prepare(never).hasValue());
    expectReads(content);
    ASSERT_TRUE(rewriter.switchOver().hasValue());
    rewriter.giveBack();
    content = next;
    expectContent(content);
    EXPECT_NE(open().tablesPlace(), place);
  }
  EXPECT_LT(std::filesystem::file_size(path()), (content.size() * 5 / 4 + 100) * clusterSize() + (2 << 20))
      << "what is free is not used again";
}

TEST_P(Rewriter, WhatIsDiscardedLeavesTheImageAsItWas) {
  writeImage();
  for (int round = 0; round < 3; ++round) {
    const auto size = std::filesystem::file_size(path());
    Qcow2Rewriter rewriter = open();
    change(rewriter);
    if (round > 0) {
      ASSERT_TRUE(rewriter.prepare(never).hasValue());
    }
    rewriter.discard();
    EXPECT_EQ(std::filesystem::file_size(path()), size);
    expectContent(content);
  }
}

TEST_P(Rewriter, WhatAStoppedRewritingLeftBehindTheEndIsUsedAgain) {
  writeImage();
  for (int round = 0; round < 3; ++round) {
    Qcow2Rewriter stopped = open();
    change(stopped);
    ASSERT_TRUE(stopped.prepare(never).hasValue());
  }
  const auto size = std::filesystem::file_size(path());
  Qcow2Rewriter rewriter = open();
  const Clusters next = change(rewriter);
  ASSERT_TRUE(rewriter.prepare(never).hasValue() && rewriter.switchOver().hasValue());
  rewriter.giveBack();
  expectContent(next);
  EXPECT_LT(std::filesystem::file_size(path()), size + size / 4);
}

// An image of plain clusters alone, side by side, of which some are replaced.
class FreeSpace : public Rewriter {
 protected:
  static constexpr std::uint64_t clusters = 1200;

  void SetUp() override {
    Qcow2Writer writer(test::createFile(folder, "a.pvhd"), {(clusters + 1) * clusterSize(), GetParam(), ""});
    for (std::uint64_t i = 0; i < clusters; ++i) {
      content[i] = test::randomBytes(clusterSize(), static_cast<unsigned>(i));
      ASSERT_TRUE(writer.addPlain(i, content[i]).hasValue());
    }
    ASSERT_TRUE(writer.finish(never).hasValue());
    // What the writer left at the end of the file.
    replace(0, 0, 1);
  }

  // `count` neighbouring clusters, `times` over, in equal distances.
  void replace(std::uint64_t count, std::uint64_t times, std::uint64_t offset) {
    Qcow2Rewriter rewriter = open();
    for (std::uint64_t time = 0; time < times; ++time) {
      for (std::uint64_t i = 0; i < count; ++i) {
        const std::uint64_t cluster = offset + time * (clusters / times) + i;
        content[cluster] = test::randomBytes(clusterSize(), static_cast<unsigned>(random()));
        ASSERT_TRUE(rewriter.putPlain(cluster, content[cluster]).hasValue());
      }
    }
    ASSERT_TRUE(rewriter.prepare(never).hasValue() && rewriter.switchOver().hasValue());
    rewriter.giveBack();
    expectContent(content);
  }

  // What the file takes on its disk, in clusters.
  std::uint64_t room() const {
    struct stat status = {};
    EXPECT_EQ(::stat(path().c_str(), &status), 0);
    return static_cast<std::uint64_t>(status.st_blocks) * 512 / clusterSize();
  }
  std::uint64_t length() const { return std::filesystem::file_size(path()) / clusterSize(); }
};

INSTANTIATE_TEST_SUITE_P(SmallClusters, FreeSpace, testing::Values(14U));

TEST_P(FreeSpace, ShortRunsKeepTheirRoomAndTheNextRewritingUsesIt) {
  const std::uint64_t before = room();
  replace(1, 40, 1);
  EXPECT_GE(room(), before + 40);
  const std::uint64_t after = room();
  const std::uint64_t end = length();
  for (std::uint64_t round = 2; round < 5; ++round) replace(1, 40, round);
  // Tables are written anew each time, into what the ones before them left.
  EXPECT_LE(room(), after + 8);
  EXPECT_LE(length(), end + 8);
}

TEST_P(FreeSpace, ARunOf64KiBIsHandedBack) {
  const std::uint64_t before = room();
  replace(4, 10, 1);
  EXPECT_LE(room(), before + 8);
  EXPECT_GE(length(), before + 40);
}

TEST_P(FreeSpace, ManyShortRunsAreHandedBack) {
  const std::uint64_t before = room();
  replace(1, 120, 1);
  EXPECT_LE(room(), before + 8) << "more than a sixteenth of the image is left unused";
}

TEST_P(FreeSpace, WhatWasDiscardedIsHandedBackLikeWhatWasReplaced) {
  replace(4, 10, 1);
  const std::uint64_t before = room();
  Qcow2Rewriter rewriter = open();
  for (std::uint64_t i = 0; i < 30; ++i) {
    ASSERT_TRUE(rewriter.putPlain(i, test::randomBytes(clusterSize(), 1)).hasValue());
  }
  ASSERT_TRUE(rewriter.prepare(never).hasValue());
  rewriter.discard();
  EXPECT_LE(room(), before + 8);
  expectContent(content);
}

TEST_P(Rewriter, ZerosHideWhatAParentHasAndNeedNoEntryWithoutOne) {
  for (const bool hasParent : {false, true}) {
    writeImage(hasParent ? "parent.pvhd" : "");
    Qcow2Rewriter rewriter = open();
    ASSERT_TRUE(rewriter.putZeros(5).hasValue());
    ASSERT_TRUE(rewriter.prepare(never).hasValue() && rewriter.switchOver().hasValue());
    auto reader = Qcow2Reader::open(test::openFile(folder, "a.pvhd"));
    EXPECT_EQ(*reader->kindOf(5), hasParent ? ClusterKind::Zeros : ClusterKind::Absent);
    EXPECT_EQ(reader->backingFile(), hasParent ? "parent.pvhd" : "");
    std::filesystem::remove(path());
  }
}

TEST_P(Rewriter, DamageAnywhereIsAnErrorOrHarmlessButNeverMore) {
  writeImage();
  const std::string sound = test::readAll(path());
  unsigned refused = 0;
  for (int round = 0; round < 45; ++round) {
    std::string bytes = sound;
    // The header, the tables at the end, and anywhere.
    const std::size_t from = round % 3 == 1 ? bytes.size() - 3 * clusterSize() : 0;
    const std::size_t end = round % 3 == 0 ? 120 : bytes.size();
    for (int i = 0; i < 8; ++i) bytes[from + random() % (end - from)] = static_cast<char>(random());
    if (round % 5 == 0) bytes.resize(random() % bytes.size());
    test::writeAll(path(), bytes);
    ArchiveResult<OpenFile> parent = openFolder(folder.path());
    auto rewriter = Qcow2Rewriter::open(std::move(*openForUpdateIn(*parent, "a.pvhd")));
    if (!rewriter) {
      ++refused;
      continue;
    }
    if (rewriter->clusterSize() != clusterSize()) continue;
    change(*rewriter);
    (void)rewriter->prepare(never);
  }
  EXPECT_GT(refused, 10U);
}

}  // namespace
}  // namespace zpk
