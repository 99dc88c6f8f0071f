#pragma once

#include "interface/Binding.h"
#include "interface/MessageSheet.h"
#include "mainwindow/ZPKUIDaemonController.h"

namespace zpk {

// The sheet in which the user types the label of a backup point that is to be pinned.
class LabelSheet final : public MessageSheet {
 public:
  LabelSheet(QWidget& window, ZPKUIDaemonController& controller, const Localization& localization);

 private:
  ZPKUIDaemonController& _controller;
  Bindings _bindings;
};

}  // namespace zpk
