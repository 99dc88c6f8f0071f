#include "tools/drive/DriveOptions.h"

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QDir>

namespace zpk {
namespace {

const QString kAllowed = QStringLiteral(
    "allowed: --archive PATH --pictures DIR [--tour | --open-with FILES] [--input mouse|keyboard] [--system]");

std::optional<InputKind> inputKind(const QString& name) {
  if (name == QStringLiteral("mouse")) return InputKind::mouse;
  if (name == QStringLiteral("keyboard")) return InputKind::keyboard;
  return std::nullopt;
}

std::nullopt_t refuse(QString& mistake, const QString& why) {
  mistake = QStringLiteral("%1 (%2)").arg(why, kAllowed);
  return std::nullopt;
}

}  // namespace

std::optional<DriveOptions> driveOptions(const QStringList& arguments, QString& mistake) {
  const auto path = QStringLiteral("path");
  const QCommandLineOption archive(QStringLiteral("archive"), {}, path);
  const QCommandLineOption pictures(QStringLiteral("pictures"), {}, path);
  const QCommandLineOption tour(QStringLiteral("tour"));
  const QCommandLineOption files(QStringLiteral("open-with"), {}, path);
  const QCommandLineOption input(QStringLiteral("input"), {}, QStringLiteral("kind"), QStringLiteral("mouse"));
  const QCommandLineOption system(QStringLiteral("system"));
  QCommandLineParser parser;
  parser.addOptions({archive, pictures, tour, files, input, system});
  if (!parser.parse(QStringList(QString()) + arguments)) return refuse(mistake, parser.errorText());
  if (!parser.positionalArguments().isEmpty()) {
    return refuse(mistake, QStringLiteral("unexpected “%1”").arg(parser.positionalArguments().front()));
  }
  if (parser.value(archive).isEmpty() || parser.value(pictures).isEmpty()) {
    return refuse(mistake, QStringLiteral("both --archive and --pictures are needed"));
  }
  const auto kind = inputKind(parser.value(input));
  if (!kind) return refuse(mistake, QStringLiteral("unknown input “%1”").arg(parser.value(input)));
  return DriveOptions{QDir().absoluteFilePath(parser.value(archive)),
                      QDir().absoluteFilePath(parser.value(pictures)),
                      parser.isSet(tour),
                      parser.value(files),
                      *kind,
                      parser.isSet(system)};
}

}  // namespace zpk
