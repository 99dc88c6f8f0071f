#pragma once

#include <QIcon>
#include <QPixmap>
#include <optional>

#include "tools/zpkstatusbar/StatusBarState.h"

namespace zpk {

// The icons are discs in a colour of their own with a white sign, so that they are seen on light and on dark panels
// alike, whose colour nobody tells. A running one has a ring that fills up.
QPixmap statusBarPixmap(StatusBarIcon icon, std::optional<int> percent, int size);

// The same in every size that status bars ask for, 16 to 64 pixels.
QIcon statusBarIcon(StatusBarIcon icon, std::optional<int> percent);

}  // namespace zpk
