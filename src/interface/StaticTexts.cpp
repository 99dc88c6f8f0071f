#include "interface/StaticTexts.h"

#include <QTabWidget>
#include <QVariant>
#include <QWidget>

namespace zpk {
namespace {

constexpr const char* kTextProperties[] = {
    "text", "title", "windowTitle", "toolTip", "placeholderText", "accessibleName", "accessibleDescription"};

// What is looked up here is translated from the interface files and from the calls of localizedText.
QString localized(const Localization& localization, const QString& key) {
  return QString::fromStdString(localization.localizedString(key.toStdString()));
}

void localizeProperties(QObject& object, const Localization& localization) {
  for (const char* name : kTextProperties) {
    const QVariant value = object.property(name);
    if (value.typeId() != QMetaType::QString || value.toString().isEmpty()) continue;
    object.setProperty(name, localized(localization, value.toString()));
  }
}

}  // namespace

QString localizedText(const Localization& localization, const char* key) {
  return QString::fromStdString(localization.localizedString(key));
}

void localizeStaticTexts(QWidget& root, const Localization& localization) {
  localizeProperties(root, localization);
  for (QWidget* child : root.findChildren<QWidget*>()) localizeProperties(*child, localization);
  for (QTabWidget* tabs : root.findChildren<QTabWidget*>()) {
    for (int i = 0; i < tabs->count(); ++i) tabs->setTabText(i, localized(localization, tabs->tabText(i)));
  }
}

}  // namespace zpk
