#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <utility>

#include "base/Value.h"
#include "helperlink/StatusValue.h"

namespace zpk {

class RLDArchive;
class RLDDisk;
class ZPKDisk;

// The status record: a dictionary in which the helper tells all it knows, whole, whenever its state changes. The
// program keeps no other copy of the helper's data.
//
//   if (statuskey::state.read(status) == HelperState::idle) …   the program reads
//   statuskey::state.set(status, HelperState::busy);            the helper writes

enum class HelperState : std::int32_t {
  idle = 0,        // no operation runs; source, archive and history are to be shown
  busy = 1,        // takes no command for the moment
  inProgress = 2,  // a backup, restore or merge runs; the progress keys are valid
  unknown = -1,
};
template <>
inline constexpr HelperState kLastNamed<HelperState> = HelperState::inProgress;

// From what to what the running operation works.
enum class ProgressType : std::int32_t {
  backup = 0,   // the disk "sourceDisk" into the archive
  restore = 1,  // the archive onto "restoretarget"
  merge = 2,    // item "mergeindex" into the item before it
  unknown = -1,
};
template <>
inline constexpr ProgressType kLastNamed<ProgressType> = ProgressType::merge;

// The number under "progresstype" of a check of the backup points. It has no name among the kinds: no operation
// that a window starts, and a window shows of it what it shows of any number that it does not know, its figures.
inline constexpr std::int32_t kVerificationProgress = 3;

// The archive at "targetArchive" as the source disk sees it.
enum class ArcState : std::int32_t {
  ready = 0,        // belongs to the source disk and has backup points
  empty = 1,        // no archive there yet; the next backup makes the first point
  unavailable = 2,  // its destination cannot be reached
  foreign = 3,      // made from another disk
  unknown = -1,     // to be taken as no archive
};
template <>
inline constexpr ArcState kLastNamed<ArcState> = ArcState::foreign;

// One key of the status record: its text, its kind (see StatusValue.h) and its meaning.
template <class Kind>
struct StatusKey {
  using Read = typename StatusValue<Kind>::Read;
  using Written = typename StatusValue<Kind>::Written;

  std::string_view key;
  std::string_view meaning;

  // The value as it was sent, null when missing.
  const Value& valueIn(const Dictionary& status) const { return status[key]; }
  bool isPresentIn(const Dictionary& status) const { return !valueIn(status).isNull(); }

  // A missing number reads as 0 (an enumeration as its first name), a missing boolean as false, a missing text,
  // array or record as absent. So does a value of another kind.
  Read read(const Dictionary& status) const { return StatusValue<Kind>::read(valueIn(status)); }

  // Stores the value; an absent one takes the key out.
  void set(Dictionary& status, Written written) const {
    Value value = StatusValue<Kind>::write(std::move(written));
    if (value.isNull()) {
      status.remove(key);
    } else {
      status.set(key, std::move(value));
    }
  }
};

// A row of the table below without its kind, for those who list all keys.
struct StatusKeyRow {
  std::string_view key;
  std::string_view meaning;
};

namespace statuskey {

// In the order in which the main window first reads them. Times are seconds.
inline constexpr StatusKey<std::int64_t> stateTime{"statetime",
                                                   "stamp of the current state, handed back at check-in"};
inline constexpr StatusKey<HelperState> state{"state", "what the helper does"};
inline constexpr StatusKey<Text> opError{"operror", "the error that ended the last operation, if any"};
inline constexpr StatusKey<Text> lastBackupError{"lastbackuperror", "the error of the last backup, if it failed"};
inline constexpr StatusKey<Number> progressPercents{"progressPercents",
                                                    "completed share of the operation, percent"};
inline constexpr StatusKey<std::uint64_t> elapsedTime{"elapsedtime", "seconds since the operation began"};
inline constexpr StatusKey<std::uint64_t> remainingTime{"remainingtime", "estimated seconds until it ends"};
inline constexpr StatusKey<TextLines> fullLog{"fulllog", "log lines of the operation, oldest first"};
inline constexpr StatusKey<ProgressType> progressType{"progresstype", "kind of the operation while in progress"};
inline constexpr StatusKey<RecordOf<RLDArchive>> archiveDescription{"archiveDescription", "the archive's contents"};
inline constexpr StatusKey<std::uint64_t> mergeIndex{"mergeindex", "item being merged into the one before it"};
inline constexpr StatusKey<RecordOf<RLDDisk>> restoreTarget{"restoretarget", "the disk being restored onto"};
inline constexpr StatusKey<Text> targetArchive{"targetArchive", "full path of the archive, if set"};
inline constexpr StatusKey<ListOf<ZPKDisk>> disks{"disks", "every disk the helper sees"};
inline constexpr StatusKey<Text> sourceDisk{"sourceDisk", "GPT identifier of the source disk as text, if set"};
inline constexpr StatusKey<std::uint64_t> maxIncCount{"maxinccount", "most increments that the archive keeps"};
inline constexpr StatusKey<bool> checkFS{"checkfs", "whether the source is checked before a backup"};
inline constexpr StatusKey<ArcState> arcState{"arcState", "the archive at targetArchive, seen from the source"};

template <class... Kinds>
constexpr std::array<StatusKeyRow, sizeof...(Kinds)> rowsOf(const StatusKey<Kinds>&... keys) {
  return {StatusKeyRow{keys.key, keys.meaning}...};
}

inline constexpr std::array kAll = rowsOf(  //
    stateTime, state, opError, lastBackupError, progressPercents, elapsedTime, remainingTime, fullLog, progressType,
    archiveDescription, mergeIndex, restoreTarget, targetArchive, disks, sourceDisk, maxIncCount, checkFS,
    arcState);

}  // namespace statuskey
}  // namespace zpk
