#include "app/NoAnswer.h"

#include <QMessageBox>
#include <cstdio>

#include "interface/StaticTexts.h"
#include "interface/Translations.h"
#include "platform/posix/Log_posix.h"
#include "platform/qt/QtLocalization.h"

namespace zpk {

void tellThatTheOtherDoesNotAnswer(const QStringList& languages) {
  PosixLog log("zpk");
  const QtLocalization localization(translationsFolder(), languages, log);
  setToolkitLanguage(localization.language());
  const QString message = localizedText(localization, "ZPK is running already, but it does not answer.");
  std::fprintf(stderr, "zpk: %s\n", qUtf8Printable(message));
  QMessageBox box(QMessageBox::Warning, QStringLiteral("ZPK"), message, QMessageBox::Ok);
  box.setInformativeText(
      localizedText(localization, "Wait a moment and open it again. If it stays silent, end it first."));
  box.exec();
}

}  // namespace zpk
