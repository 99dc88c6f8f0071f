#pragma once

#include <QWidget>
#include <cstdint>

#include "base/Localization.h"
#include "interface/Binding.h"
#include "interface/InstalledParts.h"
#include "mainwindow/ZPKUIDaemonController.h"

namespace zpk {

class CheckBox;
class IncrementCountField;

// The helper's settings: how many increments are kept, and whether the file system is checked before a backup. Both
// show what the helper says; what it refuses goes back with its next record. Beside them the switch of the status
// icon, which shows what the job launcher says.
class SettingsPane final : public QWidget {
 public:
  SettingsPane(ZPKUIDaemonController& controller, const InstalledParts& installed, const Localization& localization,
               QWidget* parent = nullptr);

 private:
  void layOut();
  void layOutHelperSettings();
  void addStatusIcon(const InstalledParts& installed);
  void commitCount(std::uint64_t count);
  void allow();

  ZPKUIDaemonController& _controller;
  const Localization& _localization;
  QWidget* _ofHelper;
  IncrementCountField* _count;
  CheckBox* _check;
  CheckBox* _statusIcon;
  Bindings _bindings;
};

}  // namespace zpk
