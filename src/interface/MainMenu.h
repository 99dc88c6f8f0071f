#pragma once

#include "base/Localization.h"

class QMenuBar;

namespace zpk {

class WindowActions;

// Fills the menu bar of the main window with its actions. What the platform keeps in a menu of its own (About,
// Quit) goes there by its role.
void fillMainMenu(QMenuBar& bar, const WindowActions& actions, const Localization& localization);

}  // namespace zpk
