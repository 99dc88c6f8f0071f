#pragma once

#include <QDateTime>
#include <QLocale>
#include <string>

namespace zpk {

// What the collection of logs asks for names and dates. Any thread.

// "2026-03-05-14-07-09": the moment as its zone's clock shows it, in the locale's digits.
std::string logTimeStamp(const QDateTime& moment = QDateTime::currentDateTime(), const QLocale& locale = QLocale());
// "2026-03-05 14:07:09 +0000", wherever the moment was.
std::string dateDescription(const QDateTime& moment = QDateTime::currentDateTimeUtc());
// A new one of version 4, "0e8a9b0c-7c11-4b1c-9d7f-0a4f2f6b8e55".
std::string randomUUID();

}  // namespace zpk
