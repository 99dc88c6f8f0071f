#include "tools/qrx-helper/VolumeProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <set>
#include <utility>

#include "tools/qrx-helper/Confinement.h"
#include "tools/qrx-helper/DescriptorMessage.h"
#include "tools/qrx-helper/StoredImage.h"
#include "tools/qrx-helper/VolumeServer.h"

namespace zpk {
namespace {

// What a word of the process's begins with.
constexpr char kLabel = '=';
constexpr char kError = '-';
constexpr char kReady = '+';
constexpr char kDamage = '!';

// What the keeper has open is not ours; above all its lock, which says that it lives.
void closeAllBut(int descriptor) {
  const auto kept = static_cast<unsigned>(descriptor);
  if (kept > 3) ::close_range(3, kept - 1, 0);
  ::close_range(std::max(kept + 1, 3U), ~0U, 0);
}

void allowSignals() {
  sigset_t none;
  ::sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

void say(const FileDescriptor& channel, char kind, const std::string& text) {
  sendMessage(channel, (kind + text).substr(0, DescriptorMessage::kLongestText));
}

// What cannot be read, for the keeper, who can write a log. The channel holds all of it, should nobody listen.
class DamageWords {
 public:
  explicit DamageWords(const FileDescriptor& channel) : _channel(channel) {}
  void tell(const ArchiveError& error, ByteRange asked) {
    if (_told.size() >= VolumeProcess::kMostDamage || !_told.emplace(error.path, error.offset).second) return;
    const std::string text = error.text() + "; bytes " + std::to_string(asked.start) + " to " +
                             std::to_string(asked.end - 1) + " of the disk cannot be read";
    say(_channel, kDamage, text.substr(0, VolumeProcess::kLongestLine));
  }

 private:
  const FileDescriptor& _channel;
  std::set<std::pair<std::string, std::uint64_t>> _told;
};

bool serve(const std::string& imagePath, const StoredPartition& partition, const FileDescriptor& channel) {
  ArchiveResult<StoredImage> image = StoredImage::open(imagePath);
  if (!image) return say(channel, kError, image.error().text()), false;
  confineToOpenFiles();
  DamageWords words(channel);
  const auto volume = NtfsVolume::open(image->partition(
      partition, [&words](const ArchiveError& error, ByteRange asked) { words.tell(error, asked); }));
  if (!volume) {
    return say(channel, kError, "The volume cannot be read: " + systemReason(volume.error().number)), false;
  }
  say(channel, kLabel, (*volume)->label());
  auto mount = receiveMessage(channel);
  // The second one is the lease, which is only to be held.
  if (!mount || mount->descriptors.size() != 2) return false;
  return serveVolume(**volume, std::move(mount->descriptors.front()), mount->text,
                     [&channel] { say(channel, kReady, {}); });
}

[[noreturn]] void run(const std::string& imagePath, const StoredPartition& partition, const FileDescriptor& channel,
                      pid_t parent) {
  ::prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (::getppid() != parent) std::_Exit(EXIT_FAILURE);
  closeAllBut(channel.get());
  allowSignals();
  std::_Exit(serve(imagePath, partition, channel) ? EXIT_SUCCESS : EXIT_FAILURE);
}

}  // namespace

std::optional<VolumeProcess> VolumeProcess::start(const std::string& imagePath, const StoredPartition& partition,
                                                  DamageLog log) {
  auto channel = descriptorChannel(SOCK_SEQPACKET);
  if (!channel) return std::nullopt;
  const pid_t parent = ::getpid();
  const pid_t pid = ::fork();
  if (pid < 0) return std::nullopt;
  if (pid == 0) {
    channel->first.reset();
    run(imagePath, partition, channel->second, parent);
  }
  return VolumeProcess(pid, std::move(channel->first), std::move(log));
}

std::string VolumeProcess::awaitWord(Deadline deadline) {
  using std::chrono::milliseconds;
  for (;;) {
    const auto left = std::chrono::ceil<milliseconds>(deadline - std::chrono::steady_clock::now());
    pollfd spoken{_channel.get(), POLLIN, 0};
    const int patience = static_cast<int>(std::clamp<milliseconds::rep>(left.count(), 0, 3'600'000));
    if (uninterrupted([&] { return ::poll(&spoken, 1, patience); }) <= 0) return {};
    auto message = receiveMessage(_channel);
    if (!message) return {};
    if (!message->text.starts_with(kDamage)) return std::move(message->text);
    note(message->text);
    // There is always something to read where somebody never stops, and a sound reader says no more than that.
    if (_damage > kMostDamage || std::chrono::steady_clock::now() >= deadline) return {};
  }
}

void VolumeProcess::listen() {
  const auto message = receiveMessage(_channel);
  if (!message) return _channel.reset();
  if (message->text.starts_with(kDamage)) note(message->text);
}

// Whoever reads a file system may say anything.
void VolumeProcess::note(const std::string& damage) {
  if (++_damage > kMostDamage) return;
  std::string line = damage.substr(1, kLongestLine);
  std::ranges::replace_if(
      line, [](char c) { return c < ' ' || c > '~'; }, '?');
  _log(line);
}

Expected<std::string, VolumeProcess::Unreadable> VolumeProcess::awaitLabel(Deadline deadline) {
  const std::string word = awaitWord(deadline);
  if (word.starts_with(kLabel)) return word.substr(1);
  return Unreadable{word.starts_with(kError) ? word.substr(1) : "The volume's file system could not be read"};
}

bool VolumeProcess::serve(FuseMount mount, const std::string& mountPoint, Deadline deadline) {
  return sendMessage(_channel, mountPoint, {mount.requests.get(), mount.lease.get()}) &&
         awaitWord(deadline).starts_with(kReady);
}

}  // namespace zpk
