#include "platform/qt/QtLocalization.h"

#include <QFile>
#include <QXmlStreamReader>
#include <utility>

#include "platform/qt/QtText.h"

namespace zpk {
namespace {

constexpr qint64 kLongestTranslation = qint64{4} << 20;

bool isEnglish(const QString& language) {
  return language == QStringLiteral("C") || language == QStringLiteral("en") ||
         language.startsWith(QStringLiteral("en-")) || language.startsWith(QStringLiteral("en_"));
}

// <message><source>Stop</source><translation>Anhalten</translation></message>; a translation with a type is
// unfinished or no longer in use.
std::pair<QString, QString> readMessage(QXmlStreamReader& xml) {
  std::pair<QString, QString> message;
  while (xml.readNextStartElement()) {
    if (xml.name() == QStringLiteral("source")) {
      message.first = xml.readElementText(QXmlStreamReader::IncludeChildElements);
    } else if (xml.name() == QStringLiteral("translation") &&
               !xml.attributes().hasAttribute(QStringLiteral("type"))) {
      message.second = xml.readElementText(QXmlStreamReader::IncludeChildElements);
    } else {
      xml.skipCurrentElement();
    }
  }
  return message;
}

}  // namespace

QtLocalization::QtLocalization(const QString& folder, const QStringList& languages, Log& log) {
  for (QString language : languages) {
    if (isEnglish(language)) return;
    QFile file(folder + QStringLiteral("/zpk_") + language.replace(u'-', u'_') + QStringLiteral(".ts"));
    if (!file.open(QIODevice::ReadOnly)) continue;
    QString error;
    Texts texts;
    if (file.size() > kLongestTranslation) {
      error = QStringLiteral("too long");
    } else {
      texts = read(file, error);
    }
    if (error.isEmpty()) {
      _texts = std::move(texts);
      _language = language;
      return;
    }
    log.line("ZPKUI::Translation " + plainText(file.fileName()) + ": " + plainText(error));
  }
}

QtLocalization::Texts QtLocalization::read(QIODevice& file, QString& error) {
  Texts texts;
  QXmlStreamReader xml(&file);
  if (!xml.readNextStartElement() || xml.name() != QStringLiteral("TS")) xml.raiseError(QStringLiteral("no <TS>"));
  while (xml.readNextStartElement()) {
    if (xml.name() != QStringLiteral("context")) {
      xml.skipCurrentElement();
      continue;
    }
    bool isMain = false;
    while (xml.readNextStartElement()) {
      if (xml.name() == QStringLiteral("name")) {
        isMain = xml.readElementText() == QStringLiteral("main");
      } else if (isMain && xml.name() == QStringLiteral("message")) {
        const auto [source, translation] = readMessage(xml);
        if (!translation.isEmpty()) texts.insert_or_assign(plainText(source), plainText(translation));
      } else {
        xml.skipCurrentElement();
      }
    }
  }
  if (xml.hasError()) error = xml.errorString();
  return texts;
}

std::string QtLocalization::localizedString(std::string_view key) const {
  const auto found = _texts.find(key);
  return found == _texts.end() ? std::string(key) : found->second;
}

}  // namespace zpk
