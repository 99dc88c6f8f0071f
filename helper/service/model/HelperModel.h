#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/DispatchQueue.h"
#include "base/Log.h"
#include "helper/process/CancelFlag.h"
#include "helper/service/model/HelperFacts.h"
#include "helper/service/model/LoopClock.h"
#include "helperlink/ResultCode.h"

namespace zpk {

// What the helper's model works with. All must outlive it, but for the two queues: work that is still queued when
// the model goes must not run any more.
struct HelperParts {
  DiskCatalog& disks;
  ArchiveKeeper& archives;
  SettingsStore& settings;
  DispatchQueue& worker;  // One thread, in order: everything that takes its time.
  DispatchQueue& loop;    // The model's own thread, in order.
  LoopClock& clock;
  Log& log;
};

// The disk that somebody chose to restore onto, and the size for the restored Windows side.
struct RestoreChoice {
  std::string identifier;
  std::uint64_t number = 0;
  std::uint64_t size = 0;
};

// The helper itself: what it knows, what it does, and what it answers. No bus, no file, no thread of its own.
//
// Everything happens on the loop's thread; disks and archives are read and written on the worker, one job at a
// time, and the results come back to the loop. Of its activities (HelperFacts.h):
//
//   busy        from the start until disks and archive were read once; while reading them again, or any command,
//               takes more than half a second
//   in progress while a backup, a restore or a merge runs; one that was told to stop runs until it has stopped
//   idle        else
//
// Commands other than `breakProgress` are answered "busy" unless the helper is idle and no other command waits for
// its answer. A command that changed something is followed by a new state, also when it set what was set already:
// front ends wait for it.
class HelperModel {
 public:
  using Answer = std::function<void(ResultCode)>;
  enum class Weight { ordinary, milestone };
  // A new state. A milestone must reach everybody: it is the last of an operation, or tells an error.
  using Announce = std::function<void(Weight)>;

  // `settings` are those of the last run. `announce` is called on the loop's thread, never from within the
  // constructor.
  HelperModel(const HelperParts& parts, HelperSettings settings, Announce announce);
  ~HelperModel();

  // Reads disks and archive for the first time. `ready` is called once that is done, or after half a second: from
  // then on commands get sensible answers.
  void start(std::function<void()> ready);

  const HelperFacts& facts() const { return _facts; }
  // Whether a command now would not be answered "busy".
  bool takesCommands() const;

  // The commands. Those that have to look at the archive's folder first answer when they have; "success" says that
  // the command was taken, what goes wrong later is told as the operation's error.
  ResultCode setBackupSource(const std::string& source);
  // The archive is reached with that user's rights from then on.
  void setTargetPath(const std::string& path, Answer answer, ArchiveUser user = std::nullopt);
  void backup(Answer answer);
  // A point of the archive onto the chosen disk. What keeps the disk from being written (a mounted volume, the
  // archive itself on it) is told as an error in plain words. With `agreed`, the disk must still be that one.
  ResultCode restore(std::uint64_t arcItem, const RestoreChoice& choice, const ZPKDisk* agreed = nullptr);
  // The disk that such a restore would be onto; why there would be none.
  Expected<std::shared_ptr<const ZPKDisk>, ResultCode> restoreTarget(std::uint64_t arcItem,
                                                                     const RestoreChoice& choice) const;
  ResultCode breakProgress();
  // A pinned parent is told as an error in plain words.
  ResultCode mergeArchiveWithParent(std::uint64_t arcItem);
  // Reads all points back. Damage is told as an error in plain words, and in full by `lastVerification`.
  ResultCode verify();
  // What the last check found since the helper started.
  const VerificationReport& lastVerification() const { return _verification; }
  ResultCode setMaxIncrementsCount(std::uint64_t count);
  ResultCode reload();
  ResultCode setCheckFS(bool flag);
  // A pinned point bears the label as it was given, also an empty one. An unpinned one keeps what it has when no
  // label is given.
  void pin(bool flag, std::uint64_t arcItem, const std::string& withLabel, Answer answer);

  // Disks, mounts or folders may have changed: reads them again as soon as that is possible, and announces a new
  // state only if something did.
  void lookAgain();
  // The operation's error was shown to somebody; it goes from the state.
  void errorWasShown();
  // Ends a running operation because the helper ends. What the worker then still hands back is put in the settings,
  // for the next start to tell. Nothing new begins: commands are answered "busy" from then on, also a backup that
  // waits for its look at the folder.
  void stopForExit();

 private:
  struct Operation;
  struct OperationEnd;
  struct Shared;
  struct Reading;
  template <class Result>
  void onWorker(std::function<Result()> work, std::function<void(Result)> then);

  std::optional<ResultCode> missingForArchive(std::uint64_t arcItem) const;
  PointReference pointAt(std::uint64_t arcItem) const;  // One that is there.
  void changed(Weight weight = Weight::ordinary);
  bool refreshActivity();  // Whether it is another than before.
  void save();
  void fail(std::string reason);
  void setArchive(ArchiveView view);

  void read(bool announce);
  void readDone(const Reading& reading);
  void commandBegins();
  bool commandEnds();  // Whether that changed the activity.
  void startSlowAlarm();

  void startBackup(const std::shared_ptr<const ZPKDisk>& disk);
  void pointExists(const std::optional<std::string>& remark);
  static OperationEnd backupNow(const HelperParts& parts, BackupOrder order, Shared& shared);
  void backupEnded(const OperationOutcome& outcome);
  void startRestore(const PointReference& point, const std::shared_ptr<const ZPKDisk>& disk,
                    const RestoreChoice& choice);
  static OperationOutcome restoreNow(const HelperParts& parts, const PointReference& point, const ZPKDisk& chosen,
                                     const RestoreChoice& choice, const std::function<bool()>& mayWrite,
                                     Shared& shared);

  std::shared_ptr<Shared> beginOperation(const OperationKind& kind);
  void tick();
  bool takeNews();
  // `settle` is called once the operation is over, before the new state is told.
  void operationEnded(const OperationEnd& end, const std::function<void()>& settle);

  const HelperParts _parts;
  Announce _announce;
  HelperFacts _facts;
  std::function<void()> _ready;
  bool _wasRead = false;       // Disks and archive, at least once.
  bool _reading = false;       // On the worker.
  bool _announceRead = false;  // Whatever it finds.
  bool _readAgain = false;     // Once it can.
  bool _commandWaits = false;  // For the archive's folder to be looked at.
  bool _ending = false;        // With the helper.
  bool _slow = false;          // Reading, or the command that waits, takes long.
  Token _slowAlarm;
  Token _lookAlarm;
  std::unique_ptr<Operation> _operation;
  std::shared_ptr<CancelFlag> _commandCancel;  // Of the command that waits, if it can be stopped.
  VerificationReport _verification;
};

}  // namespace zpk
