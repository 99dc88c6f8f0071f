#include "helper/archive/CallRecorder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <mutex>
#include <optional>

namespace zpk::test {
namespace {

struct Recorder {
  std::mutex mutex;  // A sync comes from a thread of its own.
  bool isRecording = false;
  bool isDead = false;
  bool killsProcess = false;
  std::size_t counted = 0;
  std::optional<std::size_t> last;  // After so many the end comes.
  CallRecorder::Counts counts = CallRecorder::Counts::AllCalls;
  std::mt19937 random;
  std::vector<Call> calls;
};

Recorder& recorder() {
  static Recorder one;
  return one;
}

enum class Fate { Happens, HappensInPart, Fails };

bool isWatching(const Recorder& state) {
  return state.isRecording || state.last || state.isDead;
}

Fate fateOfNext(Recorder& state, Call::Kind kind) {
  if (state.isDead) return Fate::Fails;
  const bool isCounted = state.counts == CallRecorder::Counts::AllCalls || kind == Call::Kind::Sync;
  if (!isCounted || !state.last || state.counted++ < *state.last) return Fate::Happens;
  return Fate::HappensInPart;
}

void die(Recorder& state) {
  if (state.killsProcess) ::raise(SIGKILL);
  state.isDead = true;
}

std::uint64_t inodeOf(int descriptor) {
  struct stat status {};
  return ::fstat(descriptor, &status) == 0 ? status.st_ino : 0;
}

bool isRegular(int descriptor) {
  struct stat status {};
  return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

long failed() {
  errno = EIO;
  return -1;
}

// A call with `act` as its work and `call` as its record.
template <class Act>
long passOn(const Call& call, Act act) {
  Recorder& state = recorder();
  const std::lock_guard lock(state.mutex);
  if (!isWatching(state)) return act();
  const Fate fate = fateOfNext(state, call.kind);
  if (fate == Fate::HappensInPart) die(state);
  if (fate != Fate::Happens) return failed();
  const long result = act();
  if (result >= 0 && state.isRecording) state.calls.push_back(call);
  return result;
}

long passOnWrite(int descriptor, const void* bytes, std::size_t size, std::optional<off_t> place) {
  Recorder& state = recorder();
  const auto write = [&](std::size_t count) {
    return place ? ::syscall(SYS_pwrite64, descriptor, bytes, count, *place)
                 : ::syscall(SYS_write, descriptor, bytes, count);
  };
  if (!isRegular(descriptor)) return write(size);
  const std::lock_guard lock(state.mutex);
  if (!isWatching(state)) return write(size);
  const Fate fate = fateOfNext(state, Call::Kind::Write);
  if (fate == Fate::Fails) return failed();
  const std::uint64_t offset = static_cast<std::uint64_t>(place ? *place : ::lseek(descriptor, 0, SEEK_CUR));
  // A stopped write ends between two sectors.
  const std::size_t count = fate == Fate::Happens ? size : state.random() % (size / 512 + 1) * 512;
  const long written = count == 0 ? 0 : write(count);
  if (written > 0 && state.isRecording) {
    const auto* first = static_cast<const std::byte*>(bytes);
    state.calls.push_back({Call::Kind::Write, inodeOf(descriptor), offset, 0, ByteBuffer(first, first + written)});
  }
  if (fate == Fate::HappensInPart) {
    die(state);
    return failed();
  }
  return written;
}

void end(std::size_t count, unsigned seed, bool killsProcess, CallRecorder::Counts counts) {
  Recorder& state = recorder();
  const std::lock_guard lock(state.mutex);
  state.isDead = false;
  state.killsProcess = killsProcess;
  state.counted = 0;
  state.last = count;
  state.counts = counts;
  state.random.seed(seed);
}

}  // namespace

void CallRecorder::begin() {
  const std::lock_guard lock(recorder().mutex);
  recorder().calls.clear();
  recorder().isRecording = true;
}

std::vector<Call> CallRecorder::end() {
  const std::lock_guard lock(recorder().mutex);
  recorder().isRecording = false;
  return std::move(recorder().calls);
}

std::size_t CallRecorder::recorded() {
  const std::lock_guard lock(recorder().mutex);
  return recorder().calls.size();
}

void CallRecorder::dieAfter(std::size_t count, unsigned seed, Counts counts) {
  test::end(count, seed, false, counts);
}

void CallRecorder::killAfter(std::size_t count, unsigned seed) {
  test::end(count, seed, true, Counts::AllCalls);
}

bool CallRecorder::isDead() {
  const std::lock_guard lock(recorder().mutex);
  return recorder().isDead;
}

void CallRecorder::revive() {
  const std::lock_guard lock(recorder().mutex);
  recorder().isDead = false;
  recorder().last.reset();
  recorder().counted = 0;
}

std::size_t CallRecorder::counted() {
  const std::lock_guard lock(recorder().mutex);
  return recorder().counted;
}

}  // namespace zpk::test

using zpk::test::Call;
using zpk::test::inodeOf;
using zpk::test::passOn;

extern "C" ssize_t pwrite(int descriptor, const void* bytes, size_t size, off_t place) {
  return zpk::test::passOnWrite(descriptor, bytes, size, place);
}

extern "C" ssize_t write(int descriptor, const void* bytes, size_t size) {
  return zpk::test::passOnWrite(descriptor, bytes, size, std::nullopt);
}

extern "C" int fsync(int descriptor) {
  return static_cast<int>(passOn({Call::Kind::Sync, inodeOf(descriptor)}, [] { return 0L; }));
}

extern "C" int ftruncate(int descriptor, off_t size) noexcept {
  return static_cast<int>(passOn({Call::Kind::Resize, inodeOf(descriptor), static_cast<std::uint64_t>(size)},
                                 [&] { return ::syscall(SYS_ftruncate, descriptor, size); }));
}

extern "C" int fallocate(int descriptor, int mode, off_t offset, off_t size) {
  return static_cast<int>(passOn({Call::Kind::Punch, inodeOf(descriptor), static_cast<std::uint64_t>(offset),
                                  static_cast<std::uint64_t>(size)},
                                 [&] { return ::syscall(SYS_fallocate, descriptor, mode, offset, size); }));
}

extern "C" int renameat(int fromFolder, const char* from, int toFolder, const char* to) noexcept {
  Call call{Call::Kind::Rename, 0, 0, 0, {}, inodeOf(fromFolder), from, inodeOf(toFolder), to};
  return static_cast<int>(passOn(call, [&] { return ::syscall(SYS_renameat, fromFolder, from, toFolder, to); }));
}

extern "C" int mkdirat(int folder, const char* name, mode_t mode) noexcept {
  Call call{Call::Kind::MakeFolder, 0, 0, 0, {}, inodeOf(folder), name};
  return static_cast<int>(passOn(call, [&] {
    const long made = ::syscall(SYS_mkdirat, folder, name, mode);
    struct stat status {};
    if (made == 0 && ::fstatat(folder, name, &status, 0) == 0) call.file = status.st_ino;
    return made;
  }));
}

extern "C" int unlinkat(int folder, const char* name, int flags) noexcept {
  return static_cast<int>(passOn({Call::Kind::Unlink, 0, 0, 0, {}, inodeOf(folder), name},
                                 [&] { return ::syscall(SYS_unlinkat, folder, name, flags); }));
}

extern "C" int openat(int folder, const char* name, int flags, ...) {
  mode_t mode = 0;
  if ((flags & O_CREAT) != 0) {
    va_list arguments;
    va_start(arguments, flags);
    mode = va_arg(arguments, mode_t);
    va_end(arguments);
  }
  const auto open = [&] { return ::syscall(SYS_openat, folder, name, flags, mode); };
  if ((flags & O_CREAT) == 0 || ::faccessat(folder, name, F_OK, 0) == 0) return static_cast<int>(open());
  Call call{Call::Kind::Create, 0, 0, 0, {}, inodeOf(folder), name};
  return static_cast<int>(passOn(call, [&] {
    const long made = open();
    if (made >= 0) call.file = inodeOf(static_cast<int>(made));
    return made;
  }));
}
