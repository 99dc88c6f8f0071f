// Each is tried in a process of its own that confines itself first.
#include "tools/qrx-helper/Confinement.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/landlock.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <functional>

#include "platform/posix/FileDescriptor.h"

namespace zpk {
namespace {

constexpr int kYes = 0;
constexpr int kNo = 1;

// Whether the answer of `attempt`, made by a process behind `fence`, was yes.
bool confined(const std::function<bool()>& attempt, void (*fence)() = confineToOpenFiles) {
  const pid_t child = ::fork();
  if (child == 0) {
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    fence();
    std::_Exit(attempt() ? kYes : kNo);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  EXPECT_TRUE(WIFEXITED(status)) << "ended by signal " << WTERMSIG(status);
  return WIFEXITED(status) && WEXITSTATUS(status) == kYes;
}

// Whether the call was refused for want of a right, and for no other reason.
bool refused(long answer) {
  return answer == -1 && (errno == EPERM || errno == EACCES);
}

class Confinement : public testing::Test {
 protected:
  ~Confinement() override { std::filesystem::remove_all(folder); }

  // Its own, so that nothing but the confinement is in the way.
  const std::string folder = [] {
    std::string name = testing::TempDir() + "confinement-XXXXXX";
    return std::string(::mkdtemp(name.data()));
  }();
  const std::string file = [this] {
    const std::string path = folder + "/file";
    const FileDescriptor made(::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    EXPECT_EQ(::write(made.get(), "content", 7), 7);
    return path;
  }();
};

TEST_F(Confinement, WhatIsOpenCanBeRead) {
  const FileDescriptor open(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
  EXPECT_TRUE(confined([&] {
    std::array<char, 7> content{};
    return ::pread(open.get(), content.data(), content.size(), 0) == 7 && content[6] == 't';
  }));
}

TEST_F(Confinement, MemoryCanBeUsedUpToABound) {
  EXPECT_TRUE(confined([] {
    void* const some = std::malloc(std::size_t{512} << 20);
    void* const tooMuch = std::malloc(std::size_t{5} << 30);
    return some != nullptr && tooMuch == nullptr;
  }));
}

TEST_F(Confinement, NothingCanBeOpened) {
  EXPECT_TRUE(confined([&] { return refused(::open(file.c_str(), O_RDONLY)); }));
  EXPECT_TRUE(confined([&] { return refused(::open(file.c_str(), O_WRONLY)); }));
  EXPECT_TRUE(confined([&] { return refused(::open(folder.c_str(), O_RDONLY | O_DIRECTORY)); }));
  EXPECT_TRUE(confined([&] { return refused(::open((folder + "/new").c_str(), O_WRONLY | O_CREAT, 0600)); }));
}

TEST_F(Confinement, NothingCanBeChangedOrRemoved) {
  EXPECT_TRUE(confined([&] { return refused(::unlink(file.c_str())); }));
  EXPECT_TRUE(confined([&] { return refused(::rename(file.c_str(), (file + "2").c_str())); }));
  EXPECT_TRUE(confined([&] { return refused(::chmod(file.c_str(), 0777)); }));
  EXPECT_TRUE(confined([&] { return refused(::truncate(file.c_str(), 0)); }));
  EXPECT_TRUE(confined([&] { return refused(::mkdir((folder + "/new").c_str(), 0700)); }));
  EXPECT_TRUE(confined([&] { return refused(::symlink("/", (folder + "/new").c_str())); }));
}

TEST_F(Confinement, NothingCanBeStarted) {
  EXPECT_TRUE(confined([] { return refused(::fork()); }));
  EXPECT_TRUE(confined([] {
    std::string name = "/bin/true";
    const std::array<char*, 2> words{name.data(), nullptr};
    return refused(::execv(name.c_str(), words.data()));
  }));
}

TEST_F(Confinement, NoOtherProcessCanBeReached) {
  EXPECT_TRUE(confined([] { return refused(::kill(::getppid(), 0)); }));
  EXPECT_TRUE(confined([] { return refused(::ptrace(PTRACE_ATTACH, 1, nullptr, nullptr)); }));
  EXPECT_TRUE(confined([] { return refused(::socket(AF_INET, SOCK_STREAM, 0)); }));
  EXPECT_TRUE(confined([] { return refused(::socket(AF_UNIX, SOCK_STREAM, 0)); }));
}

TEST_F(Confinement, MemoryDoesNotBecomeCode) {
  EXPECT_TRUE(confined([] {
    return ::mmap(nullptr, 4096, PROT_READ | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) == MAP_FAILED;
  }));
  EXPECT_TRUE(confined([] {
    void* const page = ::mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return page != MAP_FAILED && refused(::mprotect(page, 4096, PROT_READ | PROT_EXEC));
  }));
}

TEST_F(Confinement, AnOpenFileCannotBeAskedForSignals) {
  const FileDescriptor open(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
  EXPECT_TRUE(confined([&] { return ::fcntl(open.get(), F_GETFD) == FD_CLOEXEC; }));
  EXPECT_TRUE(confined([&] { return refused(::fcntl(open.get(), F_SETOWN, ::getpid())); }));
}

TEST_F(Confinement, SeccompAloneKeepsFilesShut) {
  EXPECT_TRUE(confined([&] { return refused(::open(file.c_str(), O_RDONLY)); }, forbidSystemCalls));
}

TEST_F(Confinement, LandlockAloneKeepsFilesShut) {
  if (::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION) < 1)
    GTEST_SKIP() << "the kernel has no Landlock";
  EXPECT_TRUE(confined([&] { return refused(::open(file.c_str(), O_RDONLY)); }, forbidFiles));
  EXPECT_TRUE(confined([&] { return refused(::unlink(file.c_str())); }, forbidFiles));
}

TEST_F(Confinement, WithoutCapabilitiesAnotherUsersFileStaysShut) {
  if (::geteuid() != 0) GTEST_SKIP() << "no root, no capabilities";
  ASSERT_EQ(::chown(file.c_str(), 12345, 12345), 0);
  EXPECT_TRUE(confined([&] { return refused(::open(file.c_str(), O_RDONLY)); }, dropCapabilities));
}

TEST_F(Confinement, LimitsAloneKeepMemoryAndFilesFromGrowing) {
  EXPECT_TRUE(confined([] { return std::malloc(std::size_t{5} << 30) == nullptr; }, limitResources));
  EXPECT_TRUE(confined(
      [&] {
        ::signal(SIGXFSZ, SIG_IGN);
        const FileDescriptor open(::open(file.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
        return ::write(open.get(), "more", 4) == -1 && errno == EFBIG;
      },
      limitResources));
}

TEST_F(Confinement, ItCannotBeTakenBack) {
  EXPECT_TRUE(confined([&] {
    confineToOpenFiles();
    return refused(::open(file.c_str(), O_RDONLY)) && refused(::prctl(PR_SET_PDEATHSIG, SIGTERM));
  }));
}

}  // namespace
}  // namespace zpk
