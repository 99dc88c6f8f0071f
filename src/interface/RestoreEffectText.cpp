#include "interface/RestoreEffectText.h"

#include "app/presentation/ByteSizeString.h"
#include "interface/DisplayText.h"
#include "interface/StaticTexts.h"

namespace zpk {
namespace {

constexpr qsizetype kNameLimit = 60;

QString quoted(const QString& name, const Localization& localization) {
  return filledText(localizedText(localization, "“NAME”"), {{"NAME", name}});
}

// By the words that its row in the list has for it.
QString diskText(const RestoreEffect& effect, const Localization& localization) {
  const QString device = displayText(effect.device, kNameLimit);
  if (effect.disk.empty() && !device.isEmpty()) return quoted(device, localization);
  if (effect.disk.empty()) return quoted(localizedText(localization, "Disk without a name"), localization);
  const QString name = displayText(effect.disk, kNameLimit);
  if (device.isEmpty()) return quoted(name, localization);
  return filledText(localizedText(localization, "“NAME” (DEVICE)"), {{"NAME", name}, {"DEVICE", device}});
}

class Sentence {
 public:
  Sentence(QString disk, const Localization& localization) : _disk(std::move(disk)), _localization(localization) {}

  QString operator()(const ReplacesWindows& replaced) const {
    const QString size = isolated(QString::fromStdString(byteSizeString(replaced.size)));
    if (replaced.name.empty()) {
      return filledText(
          localizedText(_localization,
                        "The Windows partition (SIZE) on DISK will be replaced. The rest of the disk stays."),
          {{"SIZE", size}, {"DISK", _disk}});
    }
    return filledText(
        localizedText(_localization, "“PARTITION” (SIZE) on DISK will be replaced. The rest of the disk stays."),
        {{"PARTITION", displayText(replaced.name, kNameLimit)}, {"SIZE", size}, {"DISK", _disk}});
  }
  QString operator()(const ErasesDisk&) const {
    return filledText(localizedText(_localization, "Everything on DISK will be erased."), {{"DISK", _disk}});
  }
  QString operator()(const FillsFreeSpace&) const {
    return filledText(
        localizedText(_localization,
                      "A new Windows partition is made in the free space of DISK. Nothing on it is erased."),
        {{"DISK", _disk}});
  }

 private:
  const QString _disk;
  const Localization& _localization;
};

}  // namespace

QString restoreEffectText(const RestoreEffect& effect, const Localization& localization) {
  return std::visit(Sentence(diskText(effect, localization), localization), effect.does);
}

bool isDestructive(const RestoreEffect& effect) {
  return !std::holds_alternative<FillsFreeSpace>(effect.does);
}

}  // namespace zpk
