// How long the keeper hears out a reader that a crafted volume may have taken over.

#include "tools/qrx-helper/VolumeProcess.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <string>
#include <utility>
#include <vector>

#include "tools/qrx-helper/DescriptorMessage.h"

namespace zpk {
namespace {

using std::chrono::seconds;
using testing::ElementsAre;
using testing::SizeIs;

// A volume whose reader says what the test does.
class HeardOut : public testing::Test {
 protected:
  void say(const std::string& message) { ASSERT_TRUE(sendMessage(_channel.second, message)); }
  void sayDamage(std::size_t times) {
    for (std::size_t i = 0; i < times; ++i) say("!a place");
  }
  static VolumeProcess::Deadline in(seconds time) { return std::chrono::steady_clock::now() + time; }

 private:
  std::pair<FileDescriptor, FileDescriptor> _channel = descriptorChannel(SOCK_SEQPACKET).value();

 protected:
  std::vector<std::string> said;
  VolumeProcess volume{::getpid(), std::move(_channel.first), [this](const auto& line) { said.push_back(line); }};
};

TEST_F(HeardOut, OneThatFindsAllTheDamageThatMayBeToldHasAVolume) {
  sayDamage(VolumeProcess::kMostDamage);
  say("=Windows");
  const auto label = volume.awaitLabel(in(seconds(30)));
  ASSERT_TRUE(label.hasValue());
  EXPECT_EQ(*label, "Windows");
  EXPECT_THAT(said, SizeIs(VolumeProcess::kMostDamage));
}

TEST_F(HeardOut, OneThatFloodsIsGivenUpBeforeTheDeadline) {
  sayDamage(VolumeProcess::kMostDamage + 1);
  say("=Windows");
  EXPECT_FALSE(volume.awaitLabel(in(seconds(30))).hasValue());
  EXPECT_THAT(said, SizeIs(VolumeProcess::kMostDamage));
}

TEST_F(HeardOut, OneThatFloodsInsteadOfBeingReadyIsGivenUpToo) {
  const auto mount = [] {
    return FuseMount{FileDescriptor(::open("/dev/null", O_RDONLY)), FileDescriptor(::open("/dev/null", O_RDONLY))};
  };
  say("+");
  ASSERT_TRUE(volume.serve(mount(), "/nowhere", in(seconds(30))));
  sayDamage(VolumeProcess::kMostDamage + 1);
  say("+");
  EXPECT_FALSE(volume.serve(mount(), "/nowhere", in(seconds(30))));
}

TEST_F(HeardOut, OneThatKeepsTalkingIsGivenUpWhenTheTimeIsOver) {
  say("!a place");
  say("!another place");
  say("=Windows");
  EXPECT_FALSE(volume.awaitLabel(in(seconds(-1))).hasValue());
  EXPECT_THAT(said, ElementsAre("a place"));
}

}  // namespace
}  // namespace zpk
