#include "tools/drive/DriveOptions.h"

#include <QDir>

namespace zpk {
namespace {

const QString kAllowed = QStringLiteral("allowed: --archive PATH --pictures DIR [--system]");

}  // namespace

std::optional<DriveOptions> driveOptions(const QStringList& arguments, QString& mistake) {
  DriveOptions options;
  for (qsizetype i = 0; i < arguments.size(); ++i) {
    const QString& name = arguments[i];
    if (name == QStringLiteral("--system")) {
      options.systemBus = true;
      continue;
    }
    QString* value = name == QStringLiteral("--archive")    ? &options.archive
                     : name == QStringLiteral("--pictures") ? &options.pictures
                                                            : nullptr;
    if (!value) {
      mistake = QStringLiteral("unknown option '%1' (%2)").arg(name, kAllowed);
      return std::nullopt;
    }
    if (++i == arguments.size()) {
      mistake = QStringLiteral("option '%1' needs a path after it (%2)").arg(name, kAllowed);
      return std::nullopt;
    }
    *value = QDir().absoluteFilePath(arguments[i]);
  }
  if (options.archive.isEmpty() || options.pictures.isEmpty()) {
    mistake = QStringLiteral("both --archive and --pictures are needed (%1)").arg(kAllowed);
    return std::nullopt;
  }
  return options;
}

}  // namespace zpk
