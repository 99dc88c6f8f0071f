#include "interface/Translations.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

// The toolkit wants this outside of every namespace.
static void makeTranslationsKnown() {
  Q_INIT_RESOURCE(translations);
}

namespace zpk {

QString translationsFolder() {
  makeTranslationsKnown();
  return QStringLiteral(":/translations");
}

void setToolkitLanguage(const QString& language) {
  QCoreApplication& application = *QCoreApplication::instance();
  const QString name = QStringLiteral("toolkitTexts");
  delete application.findChild<QTranslator*>(name);
  QGuiApplication::setLayoutDirection(QLocale(language).textDirection());
  if (language == QStringLiteral("en")) return;
  auto* texts = new QTranslator(&application);
  texts->setObjectName(name);
  const QString folder = QLibraryInfo::path(QLibraryInfo::TranslationsPath);
  if (texts->load(QStringLiteral("qtbase_") + language, folder)) QCoreApplication::installTranslator(texts);
}

}  // namespace zpk
