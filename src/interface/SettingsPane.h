#pragma once

#include <QWidget>
#include <cstdint>

#include "base/Localization.h"
#include "interface/Binding.h"
#include "mainwindow/ZPKUIDaemonController.h"

namespace zpk {

class CheckBox;
class IncrementCountField;

// The helper's settings: how many increments are kept, and whether the file system is checked before a backup. Both
// show what the helper says; what it refuses goes back with its next record.
class SettingsPane final : public QWidget {
 public:
  SettingsPane(ZPKUIDaemonController& controller, const Localization& localization, QWidget* parent = nullptr);

 private:
  void layOut();
  void commitCount(std::uint64_t count);
  void allow();

  ZPKUIDaemonController& _controller;
  const Localization& _localization;
  IncrementCountField* _count;
  CheckBox* _check;
  Bindings _bindings;
};

}  // namespace zpk
