#include "helper/process/ActingAs.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/fsuid.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <fstream>
#include <thread>

#include "platform/posix/FileDescriptor.h"
#include "support/TemporaryFolder.h"

namespace zpk {
namespace {

constexpr std::uint32_t kNobody = 65534;

class ActingAsTest : public testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "needs root";
    ASSERT_EQ(chmod(folder.path().c_str(), 0777), 0);
    folder.put("secret", "of root");
    ASSERT_EQ(chmod(folder.path("secret").c_str(), 0600), 0);
  }
  bool canReadSecret() const {
    return bool(FileDescriptor(open(folder.path("secret").c_str(), O_RDONLY | O_CLOEXEC)));
  }

  TemporaryFolder folder;
};

TEST_F(ActingAsTest, FilesAreReachedWithTheUsersRightsAndWithRootsAgainAfterwards) {
  {
    const auto acting = ActingAs::user(kNobody);
    ASSERT_TRUE(acting);
    EXPECT_FALSE(canReadSecret());
    EXPECT_EQ(errno, EACCES);
    { std::ofstream(folder.path("mine")) << "x"; }
    EXPECT_EQ(geteuid(), 0U) << "who the process is has not changed";
  }
  EXPECT_TRUE(canReadSecret());
  struct stat status = {};
  ASSERT_EQ(stat(folder.path("mine").c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, kNobody);
  EXPECT_NE(status.st_gid, 0U);
}

TEST_F(ActingAsTest, ALinkLeadsNoFurtherThanItsUserCouldGo) {
  const auto acting = ActingAs::user(kNobody);
  ASSERT_TRUE(acting);
  ASSERT_EQ(symlink(folder.path("secret").c_str(), folder.path("link").c_str()), 0);
  EXPECT_EQ(open(folder.path("link").c_str(), O_RDONLY | O_CLOEXEC), -1);
}

TEST_F(ActingAsTest, OtherThreadsKeepTheirRights) {
  bool couldRead = false;
  std::thread other;
  {
    std::atomic<bool> isActing = false;
    other = std::thread([&] {
      while (!isActing) std::this_thread::yield();
      couldRead = canReadSecret();
    });
    const auto acting = ActingAs::user(kNobody);
    ASSERT_FALSE(canReadSecret());
    isActing = true;
    other.join();
  }
  EXPECT_TRUE(couldRead);
}

TEST_F(ActingAsTest, WithinItTheProcesssOwnRightsCanBeHadAgain) {
  const auto acting = ActingAs::user(kNobody);
  {
    const ActingAsSelf self;
    EXPECT_TRUE(canReadSecret());
    {
      const auto again = ActingAs::user(kNobody);
      EXPECT_FALSE(canReadSecret());
    }
    EXPECT_TRUE(canReadSecret());
  }
  EXPECT_FALSE(canReadSecret());
}

TEST_F(ActingAsTest, WhomTheSystemDoesNotKnowItDoesNotActFor) {
  EXPECT_FALSE(ActingAs::user(3'999'999'999U));
  EXPECT_TRUE(canReadSecret());
}

TEST(ActingAs, ForNobodyAndForOneselfNothingChanges) {
  const auto before = setfsuid(static_cast<uid_t>(-1));
  const auto nobody = ActingAs::user(std::nullopt);
  const auto oneself = ActingAs::user(geteuid());
  EXPECT_TRUE(nobody);
  EXPECT_TRUE(oneself);
  EXPECT_EQ(setfsuid(static_cast<uid_t>(-1)), before);
}

}  // namespace
}  // namespace zpk
