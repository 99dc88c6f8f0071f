#pragma once

#include <QDialog>

#include "base/Localization.h"

namespace zpk {

class WindowActions;

// The list of the window's actions with their keys, made from the actions themselves.
class ShortcutsDialog final : public QDialog {
 public:
  ShortcutsDialog(const WindowActions& actions, const Localization& localization, QWidget& window);
};

}  // namespace zpk
