#pragma once

#include <QtGlobal>

namespace zpk {

// Whether the surroundings name anything that windows could be shown on. Without one the toolkit would end the
// program by a signal as soon as its application object is made.
inline bool isAnyDisplayNamed() {
  for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
    if (!qEnvironmentVariableIsEmpty(name)) return true;
  }
  return false;
}

}  // namespace zpk
