#pragma once

#include <QString>
#include <QStringList>
#include <map>
#include <string>

#include "base/Localization.h"
#include "base/Log.h"

class QIODevice;

namespace zpk {

// Texts in the user's language, from a translation source file as Qt's translation tools write it: of the context
// "main", every message whose translation is finished. Read once; without a file, every text is English.
class QtLocalization final : public Localization {
 public:
  // Takes "zpk_<language>.ts" of `folder` (a folder or a resource) for the first of `languages` that has one, in
  // the user's order ("de-AT", "de"); English and "C" need none and end the search. A file that is broken or longer
  // than 4 MiB is not used, and `log` says so.
  QtLocalization(const QString& folder, const QStringList& languages, Log& log);

  std::string localizedString(std::string_view key) const override;

  // The language of the texts, "de" or "pt_BR"; "en" without a file.
  const QString& language() const { return _language; }

 private:
  using Texts = std::map<std::string, std::string, std::less<>>;

  static Texts read(QIODevice& file, QString& error);

  Texts _texts;
  QString _language = QStringLiteral("en");
};

}  // namespace zpk
