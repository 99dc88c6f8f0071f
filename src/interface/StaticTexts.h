#pragma once

#include <QString>

#include "base/Localization.h"

class QWidget;

namespace zpk {

// A text in the user's language for a control.
QString localizedText(const Localization& localization, const char* key);

// Puts every text of an interface file (titles, labels, tool tips, names for assistive technology) into the user's
// language. Called once after the file's setupUi, before anything else is put into the controls.
void localizeStaticTexts(QWidget& root, const Localization& localization);

}  // namespace zpk
