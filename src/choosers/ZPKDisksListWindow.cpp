#include "choosers/ZPKDisksListWindow.h"

#include "app/presentation/ByteSizeString.h"

namespace zpk {
namespace {

// Room for the Windows side: the Windows partition that will be overwritten, or what the disk can give up.
std::uint64_t roomOn(const ZPKDisk& disk) {
  if (!disk.isBootCamp()) return disk.diskSize() - disk.diskMinSize();
  const auto windows = disk.objectForKeyedSubscript("winPartition");
  return windows ? windows->partSize() : 0;
}

// Everywhere, since a translation may name a size twice.
void replaceWord(std::string& text, std::string_view word, const std::string& with) {
  for (auto at = text.find(word); at != std::string::npos; at = text.find(word, at + with.size())) {
    text.replace(at, word.size(), with);
  }
}

}  // namespace

ZPKDisksListWindow::ZPKDisksListWindow(const Localization& localization) : _localization(localization) {}

void ZPKDisksListWindow::setType(std::uint64_t type) {
  willChangeValueForKey("type");
  _type = type;
  didChangeValueForKey("type");
}

void ZPKDisksListWindow::setDisksList(Disks disks) {
  setSelectedDisksIndexes({0});
  willChangeValueForKey("disksList");
  _disksList = std::move(disks);
  didChangeValueForKey("disksList");
}

void ZPKDisksListWindow::setSelectedDisksIndexes(IndexSet indexes) {
  willChangeValueForKey("selectedDisksIndexes");
  _selectedDisksIndexes = std::move(indexes);
  didChangeValueForKey("selectedDisksIndexes");
  updateAccessoryView();
}

std::shared_ptr<const ZPKDisk> ZPKDisksListWindow::selectedDisk() const {
  const auto index = firstIndex(_selectedDisksIndexes);
  return index && *index < _disksList.size() ? _disksList[*index] : nullptr;
}

void ZPKDisksListWindow::setMinRestoreSize(std::uint64_t size) {
  willChangeValueForKey("minRestoreSize");
  _minRestoreSize = size;
  didChangeValueForKey("minRestoreSize");
}

void ZPKDisksListWindow::setBackupPartsCount(std::uint64_t count) {
  willChangeValueForKey("backupPartsCount");
  _backupPartsCount = count;
  didChangeValueForKey("backupPartsCount");
}

void ZPKDisksListWindow::setSliderValue(std::optional<std::uint64_t> size) {
  willChangeValueForKey("sliderValue");
  _sliderValue = size;
  didChangeValueForKey("sliderValue");
}

std::string ZPKDisksListWindow::actionTitle() const {
  return _localization.localizedString(_type == kSelectType ? "Select" : "Restore");
}

bool ZPKDisksListWindow::actionEnabled() const {
  return !_noFreeSpace && !_disksList.empty();
}

std::string ZPKDisksListWindow::restoreSizeText() const {
  if (!_sliderValue) return {};
  return _localization.localizedString("Size:") + " " + byteSizeString(*_sliderValue);
}

void ZPKDisksListWindow::performOk() const {
  if (_okAction) _okAction();
}

void ZPKDisksListWindow::performCancel() const {
  if (_cancelAction) _cancelAction();
}

void ZPKDisksListWindow::orderWindow(Ordering ordering) {
  if (ordering == Ordering::in) updateAccessoryView();
}

void ZPKDisksListWindow::updateAccessoryView() {
  const auto disk = selectedDisk();
  if (_type != kRestoreType || !disk) {
    setNoFreeSpace(false);
    place(Accessory::absent);
    return setRestoreEffect(std::nullopt);
  }
  place(checkRestoreTarget(*disk));
  setRestoreEffect(_noFreeSpace ? std::nullopt : zpk::restoreEffect(*disk, _disksList));
}

ZPKDisksListWindow::Accessory ZPKDisksListWindow::checkRestoreTarget(const ZPKDisk& disk) {
  const std::uint64_t need = _minRestoreSize;
  const std::uint64_t have = roomOn(disk);
  if (have < need) {
    refuse(need, have);
    return Accessory::present;
  }
  setNoFreeSpace(false);
  // A Boot Camp disk takes the backup into its Windows partition and an empty one as a whole: no size to choose.
  if (disk.isBootCamp() || disk.isEmpty()) return Accessory::absent;
  offerSizes(need, have);
  return Accessory::present;
}

void ZPKDisksListWindow::refuse(std::uint64_t need, std::uint64_t have) {
  setNoFreeSpace(true);
  willChangeValueForKey("errorDescription");
  _errorDescription = _localization.localizedString("Not enough free space. Need: NEED, have: HAVE.");
  replaceWord(_errorDescription, "HAVE", byteSizeString(have));
  replaceWord(_errorDescription, "NEED", byteSizeString(need));
  didChangeValueForKey("errorDescription");
}

void ZPKDisksListWindow::offerSizes(std::uint64_t need, std::uint64_t have) {
  willChangeValueForKey("sliderRange");
  _sliderMaximum = have;
  _sliderMinimum = need;
  didChangeValueForKey("sliderRange");
  setSliderValue(have);
}

void ZPKDisksListWindow::setNoFreeSpace(bool flag) {
  if (flag == _noFreeSpace) return;
  willChangeValueForKey("noFreeSpace");
  _noFreeSpace = flag;
  didChangeValueForKey("noFreeSpace");
}

void ZPKDisksListWindow::place(Accessory accessory) {
  const bool present = accessory == Accessory::present;
  if (present == _accessoryPresent) return;
  willChangeValueForKey("accessory");
  _accessoryPresent = present;
  didChangeValueForKey("accessory");
}

void ZPKDisksListWindow::setRestoreEffect(std::optional<RestoreEffect> effect) {
  if (effect == _restoreEffect) return;
  willChangeValueForKey("restoreEffect");
  _restoreEffect = std::move(effect);
  didChangeValueForKey("restoreEffect");
}

std::vector<std::string_view> ZPKDisksListWindow::keyPathsForValuesAffectingValueForKey(
    std::string_view key) const {
  if (key == "actionTitle") return {"type"};
  if (key == "actionEnabled") return {"noFreeSpace", "disksList"};
  if (key == "restoreSizeText" || key == "restoreSize") return {"sliderValue"};
  return {};
}

}  // namespace zpk
