#include "helper/service/PointVerification.h"

#include <ctime>
#include <map>
#include <optional>
#include <utility>

#include "app/presentation/ByteSizeString.h"
#include "helper/archive/PointCheck.h"
#include "helper/archive/Qcow2Reader.h"
#include "helper/service/ArchiveWords.h"

namespace zpk {
namespace {

// A disk that was overwritten may be one damage or a million; nobody reads more of them than this.
constexpr std::size_t kMostRanges = 1000;

// How much a check of the point will read; 0 where its images cannot be opened, which the check will tell.
std::uint64_t contentOf(const Archive& archive, std::size_t point) {
  const ArchiveResult<PointIndex> index = archive.readPoint(point);
  if (!index) return 0;
  std::uint64_t bytes = 0;
  for (const StoredDisk& disk : index->disks) {
    ArchiveResult<OpenFile> file = archive.openPointFile(point, disk.image);
    if (!file) continue;
    ArchiveResult<Qcow2Reader> image = Qcow2Reader::open(std::move(*file));
    if (!image) continue;
    for (std::uint64_t cluster = 0; cluster < image->clusterCount(); ++cluster) {
      const ArchiveResult<std::optional<std::uint64_t>> next = image->nextPresent(cluster);
      if (!next || !*next) break;
      cluster = **next;
      bytes += image->clusterSize();
    }
  }
  return bytes;
}

std::string rangeText(const PointDamage& damage) {
  return damage.file + ": bytes " + std::to_string(damage.start) + " to " + std::to_string(damage.end - 1) +
         " of the disk";
}

// When a point was made.
std::string dateText(const std::optional<std::int64_t>& time) {
  return time ? momentText(*time) : "an unknown date";
}

class Verification {
 public:
  Verification(Archive& archive, std::string whyNotNoted, OperationBoard& board, const CancelFlag& cancel)
      : _archive(archive), _whyNotNoted(std::move(whyNotNoted)), _board(board), _cancel(cancel) {}

  VerificationReport run() {
    const std::size_t count = _archive.index().points.size();
    for (std::size_t point = 0; point < count && !_cancel.isRequested(); ++point) {
      _total += contentOf(_archive, point);
    }
    for (std::size_t point = 0; point < count; ++point) {
      if (_cancel.isRequested() || !check(point)) return stopped();
    }
    finish();
    return std::move(_report);
  }

 private:
  // False when it was told to stop.
  bool check(std::size_t place) {
    PointVerdict verdict;
    verdict.index = place;
    verdict.time = static_cast<std::int64_t>(std::time(nullptr));
    const ArchiveResult<PointIndex> index = _archive.readPoint(place);
    if (index) describe(verdict, *index);
    const NotedCheck noted = readBack(place, verdict.time);
    const ArchiveResult<PointCheck>& check = noted.check;
    if (!check && check.error().fault == ArchiveFault::Cancelled) return false;
    if (check) {
      verdict.bytes = check->bytes;
      _done += check->bytes;
      for (const DamagedRange& range : check->damaged) add(verdict, range);
      verdict.moreDamage += check->furtherRanges;
    } else {
      verdict.error = check.error().text();
    }
    verdict.unnoted = noted.whyNotNoted ? noted.whyNotNoted->text() : _whyNotNoted;
    if (!verdict.isSound() && !isNoted(place)) _isSomeUnnoted = true;
    verdict.damagedBase = baseOf(place, index, verdict);
    tell(verdict);
    if (index) tellLack(*index);
    _report.points.push_back(std::move(verdict));
    return true;
  }

  void describe(PointVerdict& verdict, const PointIndex& index) {
    verdict.pointTime = index.creationTime;
    verdict.unreadableSectors = unreadableSectors(index);
    for (const StoredDisk& disk : index.disks) {
      for (const ByteRange& range : disk.unreadable) {
        if (_stretches++ < kMostRanges) {
          verdict.unreadable.push_back({disk.name, range.start, range.end});
        } else {
          ++verdict.moreUnreadable;
        }
      }
    }
  }

  NotedCheck readBack(std::size_t place, std::int64_t time) {
    const auto progress = [&](std::uint64_t done) { _board.setProgress(_done + done, _total); };
    if (_whyNotNoted.empty()) return checkAndNote(_archive, place, time, progress, _cancel);
    return {checkOwnImages(_archive, place, progress, _cancel), std::nullopt};
  }

  // Whether the next backup knows of the damage: a point whose index is what is damaged is not built on either.
  bool isNoted(std::size_t place) const {
    const ArchiveResult<PointIndex> index = _archive.readPoint(place);
    return index ? index->check && index->check->isDamaged : isLasting(index.error());
  }

  // The damaged point that this one takes content from; points come after those that they build on.
  std::optional<std::uint64_t> baseOf(std::size_t place, const ArchiveResult<PointIndex>& index,
                                      const PointVerdict& verdict) {
    std::optional<std::uint64_t> base;
    if (index && !index->parent.empty()) {
      const auto found = _damagedBases.find(shortIdOf(index->parent));
      if (found != _damagedBases.end()) base = found->second;
    }
    // A point whose index is damaged has its id in its folder's name alone.
    const std::string id = shortIdIn(_archive.index().points[place]);
    if (!verdict.isSound()) {
      _damagedBases[id] = verdict.index;
    } else if (base) {
      _damagedBases[id] = *base;
    }
    return base;
  }

  void add(PointVerdict& verdict, const DamagedRange& range) {
    if (_ranges++ < kMostRanges) {
      verdict.damage.push_back({range.image, range.range.start, range.range.end});
    } else {
      ++verdict.moreDamage;
    }
  }

  void tell(const PointVerdict& verdict) {
    const std::string name = "The backup point of " + dateText(verdict.pointTime);
    if (verdict.isSound()) {
      _board.line(name + " is sound: " + byteSizeString(verdict.bytes) + " were read");
    } else {
      tellDamage(name, verdict);
    }
    if (verdict.damagedBase) {
      _board.line("It takes content from backup point " + std::to_string(*verdict.damagedBase + 1) +
                  ", which is damaged");
    }
    if (!verdict.unnoted.empty() && _whyNotNoted.empty())
      _board.line("This could not be noted: " + verdict.unnoted);
  }

  void tellLack(const PointIndex& index) {
    if (const std::uint64_t sectors = unreadableSectors(index))
      _board.line("It was made with " + sectorsText(sectors));
    for (const std::string& line : unreadableLines(index)) _board.line(line);
  }

  void tellDamage(const std::string& name, const PointVerdict& verdict) {
    ++_damaged;
    _board.line(name + " is damaged" + (verdict.error.empty() ? "" : ": " + verdict.error));
    for (const PointDamage& damage : verdict.damage) _board.line(rangeText(damage));
    if (verdict.moreDamage > 0) _board.line("and " + std::to_string(verdict.moreDamage) + " more ranges");
  }

  VerificationReport stopped() {
    _board.line("Stopped; what was not checked yet is as it was");
    _report.outcome = OperationStopped{};
    return std::move(_report);
  }

  void finish() {
    _report.isComplete = true;
    _board.setProgress(_total, _total);
    if (_damaged == 0) return;
    const bool one = _damaged == 1;
    // The next backup may well build on damage that it does not know of.
    const std::string known =
        _isSomeUnnoted ? "" : std::string(", and nothing further is built on ") + (one ? "it" : "them");
    _report.outcome = OperationFailed{
        (one ? "A backup point is" : std::to_string(_damaged) + " backup points are") + std::string(" damaged") +
        known +
        ". The drive with the archive may be failing. Check it and back up again; the log tells what is damaged."};
  }

  Archive& _archive;
  const std::string _whyNotNoted;
  OperationBoard& _board;
  const CancelFlag& _cancel;
  VerificationReport _report;
  std::uint64_t _total = 0;
  std::uint64_t _done = 0;
  std::size_t _ranges = 0;
  std::size_t _stretches = 0;
  std::size_t _damaged = 0;
  bool _isSomeUnnoted = false;  // Of the damaged ones.
  // By the first digits of the id of a point that cannot be relied on: the index of the damaged one that it builds
  // on, or its own.
  std::map<std::string, std::uint64_t> _damagedBases;
};

}  // namespace

VerificationReport verifyPoints(Archive& archive, OperationBoard& board, const CancelFlag& cancel) {
  return Verification(archive, {}, board, cancel).run();
}

VerificationReport verifyPointsUnnoted(Archive& archive, const std::string& whyNotNoted, OperationBoard& board,
                                       const CancelFlag& cancel) {
  board.line("What is found will not be noted in the archive: " + whyNotNoted);
  return Verification(archive, whyNotNoted, board, cancel).run();
}

}  // namespace zpk
