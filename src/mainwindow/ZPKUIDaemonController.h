#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/DateFormatter.h"
#include "base/FileManager.h"
#include "base/Image.h"
#include "base/IndexSet.h"
#include "base/Localization.h"
#include "base/Log.h"
#include "base/Task.h"
#include "base/Workspace.h"
#include "choosers/ZPKArchiveSelector.h"
#include "choosers/ZPKDisksListWindow.h"
#include "helperlink/StatusRecord.h"
#include "helperlink/ZPKDaemonController.h"
#include "mainwindow/LogScrollView.h"
#include "mainwindow/SheetPresenter.h"
#include "mount/BackupPointMounter.h"
#include "records/ArchiveItemPinning.h"
#include "records/RLDArchive.h"
#include "records/ZPKDisk.h"

namespace zpk {

// The property list of the status-bar agent, where the system that it was made for has it.
inline constexpr std::string_view kStatusBarAgentPath = "/Library/LaunchAgents/com.tarnwick.zpkstatusbar.plist";

// What the main window's controller asks of the platform. All of it outlives the controller.
struct ZPKUIDaemonControllerEnvironment {
  const Localization& localization;
  const FileManager& fileManager;
  Workspace& workspace;
  const ImageLoader& imageLoader;
  const DateFormatter& backupDateFormatter;
  Log& log;
  TaskRunner& tasks;
  // The job launcher's tool, and the property list of the status-bar agent that it switches on and off.
  std::string launchctlPath = "/bin/launchctl";
  std::string statusBarAgentPath = std::string(kStatusBarAgentPath);
  // Null where backup points cannot be mounted.
  BackupPointMounter* mounter = nullptr;
};

// The controller of the main window: turns every status of the helper into what the window shows, and the user's
// gestures into commands of the helper.
//
// The status is the only truth. A record is projected onto the properties below, to which the window's controls are
// bound by the property's name; a command changes nothing here, the record that follows it does. Each property
// announces itself when it really changes. Lists and pictures are shared with the record, never copied.
//
// Made as a std::shared_ptr (backup points reach it through a process-wide weak reference). Main thread only.
class ZPKUIDaemonController : public ZPKDaemonController,
                              public ArchiveItemPinning,
                              public std::enable_shared_from_this<ZPKUIDaemonController> {
 public:
  using ArcItems = RecordList<RLDArchiveItem>;
  using Picture = std::shared_ptr<const Image>;

  ZPKUIDaemonController(ZPKDaemonControllerEnvironment link, ZPKUIDaemonControllerEnvironment environment);
  ~ZPKUIDaemonController() override;

  // Outlets, set by the interface before launch; not owned. Null when there is no window (any more).
  void setMainWindow(SheetPresenter* mainWindow) { _mainWindow = mainWindow; }
  void setLogScrollView(LogScrollView* logScrollView) { _logScrollView = logScrollView; }

  // Properties, under their keys.
  bool sourceFound() const { return _sourceFound; }
  bool arcSet() const { return _arcSet; }
  bool backupEnabled() const { return _backupEnabled; }
  bool updating() const { return _updating; }
  const Value& progressPercents() const { return _progressPercents; }  // a number, as the helper sent it
  const Dictionary& sourceInfo() const { return _sourceInfo; }  // "name", "fsname", "size", "free", "mountpoint"
  const Dictionary& destinationInfo() const { return _destinationInfo; }  // "name", "location", "status"
  // Of the file system that holds the archive, as of the last record while nothing ran; nothing when it cannot be
  // had.
  const std::optional<FileSystemSpace>& destinationSpace() const { return _destinationSpace; }
  const Picture& sourceIcon() const { return _sourceIcon; }
  const Picture& targetIcon() const { return _targetIcon; }
  const std::optional<std::string>& firstBackup() const { return _firstBackup; }
  const std::optional<std::string>& lastBackup() const { return _lastBackup; }
  bool inProgress() const { return _inProgress; }
  const std::optional<std::string>& elapsedTime() const { return _elapsedTime; }
  const std::optional<std::string>& remainingTime() const { return _remainingTime; }
  // Texts; null for none. The record's own array.
  const std::shared_ptr<const Array>& log() const { return _log; }
  // Oldest first; null for none. The archive record's own list, kept alive with it.
  const std::shared_ptr<const ArcItems>& arcItems() const { return _arcItems; }
  const IndexSet& selectedArcItemsIndexes() const { return _selectedArcItemsIndexes; }
  void setSelectedArcItemsIndexes(IndexSet indexes);
  const std::string& errorDescription() const { return _errorDescription; }
  // What to do about it. Empty for an error of an operation, whose own text says so. Key "errorAdvice".
  const std::string& errorAdvice() const { return _errorAdvice; }
  const std::optional<std::string>& lastBackupError() const { return _lastBackupError; }
  const std::string& incrementLabel() const { return _incrementLabel; }
  void setIncrementLabel(std::string label);
  bool checkFS() const { return _checkFS; }
  std::uint64_t maxIncCount() const { return _maxIncCount; }
  // Exactly one point is selected, it has a parent, and the parent is not pinned. Key "canMergeSelectedArcItem".
  bool canMergeSelectedArcItem() const;

  // The status-bar agent is not loaded. Nothing of it is stored: the job launcher knows.
  bool statusBarAppDisabled() const { return _statusBarAppDisabled; }
  // Has the launcher load or unload the agent for good. Shows what was asked for, and a tenth of a second later
  // what the launcher made of it.
  void setStatusBarAppDisabled(bool disabled);
  // Reads from the launcher whether the agent is loaded; blocks until its tool has exited.
  void checkStatusBarApp();

  // Settings. The limit shows at once and is then sent; the check is sent, and shows with the helper's next record.
  void setMaxIncCount(std::uint64_t count);
  void setCheckFS(bool flag);

  // Actions of the window's controls.
  void backup();
  // The user has agreed, in the sheet of session 6, to back up onto an archive made from another disk.
  void backupOntoForeignArchive();
  void restore();
  void breakProgress();
  void selectSourceAction();
  void selectBackupPath();
  // Opens the files of the first selected backup point; blocks for up to a minute for each of its images. Each that
  // cannot be attached puts its error into the error sheet.
  void mountArcItem();
  bool canMountArcItems() const { return _environment.mounter != nullptr; }
  void mergeArvhiveAction();  // spelled so: the interface binds to it under that name
  void sheetOKAction();
  void sheetCancelAction();
  void pin(bool flag, const RLDArchiveItem& archiveItem) override;

  // The sheet over the main window, by number; 0 is none. Setting the one already shown closes and reopens it.
  std::int32_t modalSession() const { return _modalSession; }
  void setModalSession(std::int32_t session);
  // The sheet of that number, prepared to be shown; none for a number without a sheet.
  SheetWindow windowForModalSession(std::int32_t session);

  // "HH:MM:SS" of a number of seconds, hours counting on past 24; nothing for a value that is no number.
  static std::optional<std::string> formattedTimeString(const Value& seconds);

  // The first contact with the helper has been tried. Key "launched".
  bool isLaunched() const { return daemon() != nullptr; }

  void applicationDidFinishLaunching() override;
  void stateChangedWithStatus(const Dictionary& status) override;
  Value needReload() override;

 protected:
  std::vector<std::string_view> keyPathsForValuesAffectingValueForKey(std::string_view key) const override;

 private:
  using DaemonAction = std::function<Value()>;

  // Stores and announces what really changes.
  template <class T>
  void assign(std::string_view key, T& property, T value) {
    if (property == value) return;
    willChangeValueForKey(key);
    property = std::move(value);
    didChangeValueForKey(key);
  }

  // The projection: a function for each state, kind of operation and state of the archive.
  void project(const Dictionary& status);
  void decideSheet(const Dictionary& status, HelperState state);
  void projectProgress(const Dictionary& status);
  void projectMerge(const Dictionary& status);
  void projectRestore(const Dictionary& status);
  void projectBackup(const Dictionary& status);
  void projectIdle(const Dictionary& status);
  void projectSource(const Dictionary& status);
  struct Destination;
  Destination projectDestination(const Dictionary& status);
  Destination readyDestination(const Dictionary& status, Dictionary described);
  Destination emptyDestination(Dictionary described);
  Destination unavailableDestination(Dictionary described);
  Destination foreignDestination(const Dictionary& status, Dictionary described);
  void takeArchive(const Dictionary& status);
  Picture archiveIcon();
  Picture diskIcon(const RLDDisk* disk);
  std::optional<FileSystemSpace> describeSpace(Dictionary& described) const;
  std::optional<std::string> backupDate(const RLDArchiveItem& item) const;
  void scrollLogToEnd();

  void performDaemonAction(const DaemonAction& action);
  void setError(std::string description, std::string advice);
  void sendBackup();
  void sendRestore();
  void sendBackupSource();
  void sendTargetPath();
  void sendMerge();
  void sendPin(bool flag, std::optional<std::string> label);

  SheetWindow diskChooser(std::uint64_t type, ZPKDisksListWindow::Disks disks);
  SheetWindow restoreTargetChooser();
  SheetWindow sourceChooser();
  SheetWindow archiveLocationPanel();
  ZPKDisksListWindow::Disks disksOfStatus() const;
  bool runLaunchctl(std::vector<std::string> arguments);
  std::shared_ptr<const RLDArchiveItem> selectedArcItem() const;

  ZPKUIDaemonControllerEnvironment _environment;
  SheetPresenter* _mainWindow = nullptr;
  LogScrollView* _logScrollView = nullptr;

  bool _sourceFound = false;
  bool _arcSet = false;
  bool _backupEnabled = false;
  bool _updating = false;
  Value _progressPercents;
  Dictionary _sourceInfo;
  Dictionary _destinationInfo;
  std::optional<FileSystemSpace> _destinationSpace;
  Picture _sourceIcon;
  Picture _targetIcon;
  std::optional<std::string> _firstBackup;
  std::optional<std::string> _lastBackup;
  bool _inProgress = false;
  std::optional<std::string> _elapsedTime;
  std::optional<std::string> _remainingTime;
  std::shared_ptr<const Array> _log;
  std::shared_ptr<const ArcItems> _arcItems;
  IndexSet _selectedArcItemsIndexes;
  std::string _errorDescription;
  std::string _errorAdvice;
  std::optional<std::string> _lastBackupError;
  std::string _incrementLabel;
  bool _checkFS = false;
  std::uint64_t _maxIncCount = 0;
  bool _statusBarAppDisabled = false;

  // Disks' pictures by their files, so that a record costs no file access.
  std::map<std::string, Picture, std::less<>> _diskIcons;

  std::int32_t _modalSession = 0;
  std::shared_ptr<ZPKArchiveSelector> _archiveSelector;
  std::shared_ptr<ZPKDisksListWindow> _disksListWindow;
  std::uint64_t _clickedArcItemIndex = 0;
  bool _legacyArc = false;
};

}  // namespace zpk
