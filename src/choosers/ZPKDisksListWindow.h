#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/IndexSet.h"
#include "base/Localization.h"
#include "base/Observable.h"
#include "choosers/RestoreEffect.h"
#include "records/ZPKDisk.h"

namespace zpk {

// The sheet in which the user picks one disk: the source to protect, or the target of a restore. For a restore it
// also checks that the disk has room for the backup and, where the free space can be divided, offers the size of
// the restored Windows side on a slider.
//
// Made and filled by the main window controller, which reads the choice back; the sheet's widgets bind to its keys:
// "type", "disksList", "selectedDisksIndexes", "minRestoreSize", "backupPartsCount", "sliderValue", "noFreeSpace",
// "sliderRange", "accessory", "errorDescription", "restoreEffect" and the computed "actionTitle", "actionEnabled",
// "restoreSizeText". Sizes are bytes. Main thread only.
class ZPKDisksListWindow : public Observable {
 public:
  using Disks = std::vector<std::shared_ptr<const ZPKDisk>>;

  // Any type but `select` titles the button "Restore"; `restore` alone turns the checks on.
  static constexpr std::uint64_t kSelectType = 0;
  static constexpr std::uint64_t kRestoreType = 1;

  enum class Ordering { out, in };

  explicit ZPKDisksListWindow(const Localization& localization);

  std::uint64_t type() const { return _type; }
  void setType(std::uint64_t type);

  const Disks& disksList() const { return _disksList; }
  // Selects the first row, then takes the list: the selection is in place before the new list is observed.
  void setDisksList(Disks disks);

  const IndexSet& selectedDisksIndexes() const { return _selectedDisksIndexes; }
  void setSelectedDisksIndexes(IndexSet indexes);
  // The disk at the first selected index; null when there is none.
  std::shared_ptr<const ZPKDisk> selectedDisk() const;

  std::uint64_t minRestoreSize() const { return _minRestoreSize; }
  void setMinRestoreSize(std::uint64_t size);
  // Kept for the caller; the window has no use for it.
  std::uint64_t backupPartsCount() const { return _backupPartsCount; }
  void setBackupPartsCount(std::uint64_t count);

  std::optional<std::uint64_t> sliderValue() const { return _sliderValue; }
  void setSliderValue(std::optional<std::uint64_t> size);
  std::optional<std::uint64_t> restoreSize() const { return _sliderValue; }
  // Ends of the slider, set whenever the slider is shown. Key "sliderRange".
  std::uint64_t sliderMinimum() const { return _sliderMinimum; }
  std::uint64_t sliderMaximum() const { return _sliderMaximum; }

  // The chosen restore target is too small. Page 1 of the accessory (the error text) is shown then, page 0 (slider
  // and size) otherwise.
  bool noFreeSpace() const { return _noFreeSpace; }
  const std::string& errorDescription() const { return _errorDescription; }
  // What choosing the marked disk would do to it; nothing when it is not to be written, or has no room. Brought up
  // to date with the accessory.
  const std::optional<RestoreEffect>& restoreEffect() const { return _restoreEffect; }
  // Whether the accessory below the list is there at all.
  bool accessoryPresent() const { return _accessoryPresent; }

  std::string actionTitle() const;      // "Select" or "Restore"
  bool actionEnabled() const;           // there is something to choose, and room on it
  std::string restoreSizeText() const;  // "Size: 120 GB"; empty before a size was chosen

  // The caller's actions end the sheet; the window itself does not.
  void setOkAction(std::function<void()> action) { _okAction = std::move(action); }
  void setCancelAction(std::function<void()> action) { _cancelAction = std::move(action); }
  void performOk() const;
  void performCancel() const;

  // Called after the sheet was put on the screen or taken off it: the accessory is brought up to date each time the
  // sheet is shown.
  void orderWindow(Ordering ordering);

 protected:
  std::vector<std::string_view> keyPathsForValuesAffectingValueForKey(std::string_view key) const override;

 private:
  enum class Accessory { absent, present };

  void updateAccessoryView();
  Accessory checkRestoreTarget(const ZPKDisk& disk);
  void refuse(std::uint64_t need, std::uint64_t have);
  void offerSizes(std::uint64_t need, std::uint64_t have);
  void setNoFreeSpace(bool flag);
  void place(Accessory accessory);
  void setRestoreEffect(std::optional<RestoreEffect> effect);

  const Localization& _localization;
  std::uint64_t _type = kSelectType;
  Disks _disksList;
  IndexSet _selectedDisksIndexes;
  std::uint64_t _minRestoreSize = 0;
  std::uint64_t _backupPartsCount = 0;
  std::optional<std::uint64_t> _sliderValue;
  std::uint64_t _sliderMinimum = 0;
  std::uint64_t _sliderMaximum = 0;
  bool _noFreeSpace = false;
  bool _accessoryPresent = false;
  std::string _errorDescription;
  std::optional<RestoreEffect> _restoreEffect;
  std::function<void()> _okAction;
  std::function<void()> _cancelAction;
};

}  // namespace zpk
