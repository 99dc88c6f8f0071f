#pragma once

#include <QApplication>
#include <QStyle>
#include <memory>

#include "interface/InterfaceWorld.h"
#include "interface/Translations.h"
#include "platform/qt/QtLocalization.h"
#include "support/RecordingLog.h"

namespace zpk {

// A world in one of the program's languages, the toolkit's own texts and the writing direction with it; English
// again afterwards. Entered before the window is opened.
class InLanguage {
 public:
  InLanguage(InterfaceWorld& world, const char* language)
      : _texts(translationsFolder(), {QString::fromLatin1(language)}, _log) {
    world.texts.language = &_texts;
    setToolkitLanguage(_texts.language());
  }
  ~InLanguage() { setToolkitLanguage(QStringLiteral("en")); }

  const QString& language() const { return _texts.language(); }

 private:
  RecordingLog _log;
  QtLocalization _texts;
};

}  // namespace zpk
