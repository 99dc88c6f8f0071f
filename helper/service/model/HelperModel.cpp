#include "helper/service/model/HelperModel.h"

#include <algorithm>

#include "helper/service/model/HelperModel_private.h"
#include "records/RLDArchive.h"
#include "records/RLDArchiveItem.h"
#include "records/RLDPartition.h"
#include "records/ZPKDisk.h"

namespace zpk {
namespace {

constexpr Seconds kSlow{0.5};
// Changes of a folder come in bursts: they are looked at once, when the burst is over.
constexpr Seconds kLookDelay{0.25};
// How many state times are set aside with one save of the settings.
constexpr std::int64_t kStateTimesAtOnce = 1'000'000;
constexpr std::int64_t kLatestDate = std::int64_t{1} << 60;

constexpr std::string_view kArchiveEnding = ".rldbackup";
constexpr std::size_t kLongestPath = 4000;

// A full path that names an archive: absolute, with nothing odd in it, ending as archives do.
bool namesAnArchive(const std::string& path) {
  if (path.empty() || path.front() != '/' || path.size() > kLongestPath || !path.ends_with(kArchiveEnding))
    return false;
  if (std::any_of(path.begin(), path.end(),
                  [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; })) {
    return false;
  }
  if ((path + "/").find("/../") != std::string::npos) return false;
  // What lies there are views of the system and of this process, and nobody's folders.
  if (path.starts_with("/proc/") || path.starts_with("/sys/")) return false;
  return path.size() - path.rfind('/') - 1 > kArchiveEnding.size();
}

// Microseconds since 1970, which no run of the helper outpaces: with it state times rise even when the settings
// were lost.
std::int64_t stateTimeOf(const Date& date) {
  const double microseconds = date.secondsSince1970 * 1e6;
  if (!(microseconds > 0)) return 1;
  return microseconds < static_cast<double>(kLatestDate) ? static_cast<std::int64_t>(microseconds) : kLatestDate;
}

}  // namespace

HelperModel::HelperModel(const HelperParts& parts, HelperSettings settings, Announce announce)
    : _parts(parts), _announce(std::move(announce)) {
  _facts.settings = std::move(settings);
  if (_facts.settings.backupRunning) {
    _facts.settings.backupRunning = false;
    _facts.settings.lastBackupError = interruptedBackupText();
  }
  if (_facts.settings.restoringOnto) {
    fail(interruptedRestoreText(*_facts.settings.restoringOnto));
    _facts.settings.restoringOnto.reset();
  }
  _facts.stateTime = std::max(_facts.settings.stateTimeLimit, stateTimeOf(_parts.clock.date()));
  _facts.settings.stateTimeLimit = _facts.stateTime + kStateTimesAtOnce;
  save();
}

HelperModel::~HelperModel() = default;

void HelperModel::start(std::function<void()> ready) {
  _ready = std::move(ready);
  read(false);
}

bool HelperModel::takesCommands() const {
  return std::holds_alternative<Idle>(_facts.activity) && !_commandWaits && !_ending;
}

ResultCode HelperModel::setBackupSource(const std::string& source) {
  if (!takesCommands()) return ResultCode::serviceIsBusy;
  const auto disk = diskWithIdentifier(_facts.disks, source);
  if (!disk || !disk->isBootCamp()) return ResultCode::diskNotFound;
  _facts.settings.source = source;
  save();
  changed();
  return ResultCode::success;
}

void HelperModel::setTargetPath(const std::string& path, Answer answer, ArchiveUser user) {
  if (!takesCommands()) return answer(ResultCode::serviceIsBusy);
  if (!namesAnArchive(path)) return answer(ResultCode::noArchiveTargetDirectory);
  commandBegins();
  onWorker<ArchiveView>([&archives = _parts.archives, path, user] { return archives.look(path, user); },
                        [this, path, user, answer = std::move(answer)](ArchiveView view) {
                          const bool wasSlow = commandEnds();
                          if (std::holds_alternative<NoArchiveFolder>(view)) {
                            if (wasSlow) changed();
                            return answer(ResultCode::noArchiveTargetDirectory);
                          }
                          _facts.settings.archivePath = path;
                          _facts.settings.archiveUser = user;
                          // Whoever chose it is told, also when he was told before.
                          if (const auto* bad = std::get_if<UnreadableArchive>(&view)) fail(bad->reason);
                          _facts.archive = std::move(view);
                          save();
                          changed(_facts.operationError ? Weight::milestone : Weight::ordinary);
                          answer(ResultCode::success);
                        });
}

ResultCode HelperModel::setMaxIncrementsCount(std::uint64_t count) {
  if (!takesCommands()) return ResultCode::serviceIsBusy;
  if (count < kFewestIncrements || count > kMostIncrements) return ResultCode::badIndex;
  _facts.settings.maxIncrements = count;
  save();
  changed();
  return ResultCode::success;
}

ResultCode HelperModel::setCheckFS(bool flag) {
  if (!takesCommands()) return ResultCode::serviceIsBusy;
  _facts.settings.checkFileSystem = flag;
  save();
  changed();
  return ResultCode::success;
}

ResultCode HelperModel::reload() {
  if (!takesCommands()) return ResultCode::serviceIsBusy;
  read(true);
  return ResultCode::success;
}

std::optional<ResultCode> HelperModel::missingForArchive(std::uint64_t arcItem) const {
  if (!_facts.settings.archivePath) return ResultCode::archivePathNotSet;
  const auto* present = std::get_if<PresentArchive>(&_facts.archive);
  if (!present || arcItem >= present->archive->items().size()) return ResultCode::badIndex;
  return std::nullopt;
}

void HelperModel::errorWasShown() {
  if (!_facts.operationError) return;
  _facts.operationError.reset();
  changed();
}

void HelperModel::fail(std::string reason) {
  _parts.log.line("ZPKH::Error: " + reason);
  _facts.operationError = std::move(reason);
}

// An archive that lies there and cannot be read looks like one that is not there: why is told once.
void HelperModel::setArchive(ArchiveView view) {
  const auto* bad = std::get_if<UnreadableArchive>(&view);
  const bool isNews = bad != nullptr && !sameView(view, _facts.archive);
  if (isNews && !_facts.operationError) {
    fail(bad->reason);
  } else if (isNews) {
    _parts.log.line("ZPKH::" + bad->reason);
  }
  _facts.archive = std::move(view);
}

void HelperModel::save() {
  if (const auto saved = _parts.settings.save(_facts.settings); !saved) {
    const FileError& error = saved.error();
    fail("The settings could not be saved in " + error.path + ": " + error.reason +
         ". They are lost when the backup service ends.");
  }
}

void HelperModel::changed(Weight weight) {
  if (++_facts.stateTime >= _facts.settings.stateTimeLimit) {
    _facts.settings.stateTimeLimit = _facts.stateTime + kStateTimesAtOnce;
    save();
  }
  _announce(weight);
}

void HelperModel::lookAgain() {
  if (!_lookAlarm.isActive()) {
    _lookAlarm = _parts.clock.after(kLookDelay, [this] {
      _lookAlarm.reset();
      read(false);
    });
  }
}

void HelperModel::read(bool announce) {
  if (_ending) return;
  _announceRead = _announceRead || announce;
  if (_reading || _operation) {
    _readAgain = true;
    return;
  }
  _readAgain = false;
  _reading = true;
  startSlowAlarm();
  onWorker<Reading>(
      [&disks = _parts.disks, &archives = _parts.archives, path = _facts.settings.archivePath.value_or(""),
       user = _facts.settings.archiveUser] {
        return Reading{disks.scan(), path, user, path.empty() ? ArchiveView() : archives.look(path, user)};
      },
      [this](const Reading& reading) { readDone(reading); });
}

void HelperModel::readDone(const Reading& reading) {
  _reading = false;
  const bool first = !std::exchange(_wasRead, true);
  const bool disksDiffer = !std::equal(reading.disks.begin(), reading.disks.end(), _facts.disks.begin(),
                                       _facts.disks.end(), [](const auto& a, const auto& b) { return *a == *b; });
  if (disksDiffer) _facts.disks = reading.disks;
  // The path may have been set anew since, and then that command has looked there by itself.
  const bool sameArchive = reading.path != _facts.settings.archivePath.value_or("") ||
                           reading.user != _facts.settings.archiveUser || sameView(reading.archive, _facts.archive);
  if (!sameArchive) setArchive(reading.archive);
  const bool again = _readAgain && !_operation;
  const bool asked = !again && std::exchange(_announceRead, false);
  if (again) read(false);
  const bool otherActivity = refreshActivity();
  if (first || disksDiffer || !sameArchive || otherActivity || asked) {
    changed(_facts.operationError ? Weight::milestone : Weight::ordinary);
  }
  if (_ready) std::exchange(_ready, nullptr)();
}

void HelperModel::commandBegins() {
  _commandWaits = true;
  startSlowAlarm();
}

bool HelperModel::commandEnds() {
  _commandWaits = false;
  return refreshActivity();
}

void HelperModel::startSlowAlarm() {
  if (_slowAlarm.isActive()) return;
  _slowAlarm = _parts.clock.after(kSlow, [this] {
    _slow = true;
    refreshActivity();
    changed();
    if (_ready) std::exchange(_ready, nullptr)();
  });
}

bool HelperModel::refreshActivity() {
  if (_operation) return false;  // It says itself what it does.
  if (!_reading && !_commandWaits) {
    _slow = false;
    _slowAlarm.reset();
  }
  const std::size_t before = _facts.activity.index();
  if (_slow || !_wasRead) {
    _facts.activity = Busy{};
  } else {
    _facts.activity = Idle{};
  }
  return _facts.activity.index() != before;
}

}  // namespace zpk
