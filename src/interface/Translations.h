#pragma once

#include <QString>

namespace zpk {

// The folder of the program's texts in other languages, for QtLocalization. They are compiled into the program; the
// first call makes them known to the toolkit.
QString translationsFolder();

// Puts the toolkit's own texts (the file panel, the menus of text fields) into that language, where the system has
// them, and lets windows run in its writing direction. Called before the first window is made; a later call takes
// the place of the one before. "en" is what the toolkit speaks by itself.
void setToolkitLanguage(const QString& language);

}  // namespace zpk
