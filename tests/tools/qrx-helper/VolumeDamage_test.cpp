// What the reader of a volume says of damage that it comes upon.

#include <gmock/gmock.h>
#include <poll.h>

#include <algorithm>
#include <set>

#include "tools/qrx-helper/QrxHelperWorld.h"
#include "tools/qrx-helper/VolumeProcess.h"

namespace zpk::test {
namespace {

using testing::AllOf;
using testing::Each;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class VolumeDamage : public PointsWorld {
 protected:
  ~VolumeDamage() override {
    if (_volume) {
      ::kill(_volume->pid(), SIGTERM);
      ::waitpid(_volume->pid(), nullptr, 0);
    }
    if (_unmounter > 0) ::waitpid(_unmounter, nullptr, 0);
  }

  // Every so many bytes of the image.
  void damage(std::uint64_t from, std::uint64_t distance) {
    const FileDescriptor image(::open(imagePath(0).c_str(), O_WRONLY | O_CLOEXEC));
    // The tables are at the end.
    const std::uint64_t end = fs::file_size(imagePath(0)) / 4 * 3;
    const std::string noise(16, 'x');
    for (std::uint64_t at = from; at + noise.size() < end; at += distance)
      ASSERT_EQ(::pwrite(image.get(), noise.data(), noise.size(), static_cast<off_t>(at)), 16);
  }

  VolumeProcess& start() {
    const auto partitions = archive.readPoint(0)->disks[0].partitions;
    const auto windows = std::ranges::find(partitions, PartitionContent::UsedClusters, &StoredPartition::content);
    _volume =
        VolumeProcess::start(imagePath(0), *windows, [this](const std::string& line) { said.push_back(line); });
    return *_volume;
  }
  void serve(VolumeProcess& volume) {
    fs::create_directory(mountPoint);
    auto mount = mountFuse(mountPoint, "/dev/none");
    ASSERT_TRUE(mount.has_value());
    _unmounter = mount->unmounter;
    ASSERT_TRUE(volume.serve(std::move(*mount), mountPoint, deadline()));
  }
  static VolumeProcess::Deadline deadline() { return std::chrono::steady_clock::now() + std::chrono::seconds(30); }

  const std::string mountPoint = folder / "volume";
  std::vector<std::string> said;

 private:
  std::optional<VolumeProcess> _volume;
  pid_t _unmounter = 0;
};

TEST_F(VolumeDamage, OfAFileIsAnErrorForItsReaderAndALineForTheLog) {
  Files expected;
  disk.change([&](const std::string& root) { expected = filesIn(root); });
  damage(fs::file_size(imagePath(0)) / 3, 65'536);
  VolumeProcess& volume = start();
  ASSERT_TRUE(volume.awaitLabel(deadline()).hasValue());
  serve(volume);
  std::size_t unreadable = 0;
  for (const auto& [name, content] : expected) {
    std::ifstream file(mountPoint + "/" + name, std::ios::binary);
    std::string got(content.size(), '\0');
    if (file.read(got.data(), static_cast<std::streamsize>(got.size()))) {
      EXPECT_EQ(got, content) << name;
    } else {
      ++unreadable;
    }
  }
  ASSERT_GT(unreadable, 0U);
  pollfd spoken{volume.channel(), POLLIN, 0};
  while (::poll(&spoken, 1, 0) > 0 && spoken.revents == POLLIN) volume.listen();
  EXPECT_THAT(said, Not(IsEmpty()));
  EXPECT_LE(said.size(), VolumeProcess::kMostDamage);
  // Which point it is, and what of its disk.
  EXPECT_THAT(said, Each(AllOf(HasSubstr(archive.index().points[0]), HasSubstr("; bytes "),
                               HasSubstr(" of the disk cannot be read"))));
  EXPECT_EQ(std::set<std::string>(said.begin(), said.end()).size(), said.size());
}

TEST_F(VolumeDamage, OfTheFileSystemIsALineForTheLogAndNoVolume) {
  damage(16'384, 512);
  EXPECT_FALSE(start().awaitLabel(deadline()).hasValue());
  EXPECT_THAT(said, Not(IsEmpty()));
}

TEST_F(VolumeDamage, IsNoneWhereNothingIsDamaged) {
  EXPECT_TRUE(start().awaitLabel(deadline()).hasValue());
  EXPECT_THAT(said, IsEmpty());
}

}  // namespace
}  // namespace zpk::test
