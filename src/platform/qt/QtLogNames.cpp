#include "platform/qt/QtLogNames.h"

#include <QUuid>

namespace zpk {

std::string logTimeStamp(const QDateTime& moment, const QLocale& locale) {
  return locale.toString(moment, QStringLiteral("yyyy-MM-dd-HH-mm-ss")).toStdString();
}

std::string dateDescription(const QDateTime& moment) {
  return moment.toUTC().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss '+0000'")).toStdString();
}

std::string randomUUID() {
  return QUuid::createUuid().toString(QUuid::WithoutBraces).toStdString();
}

}  // namespace zpk
