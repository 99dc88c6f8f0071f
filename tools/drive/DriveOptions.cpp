#include "tools/drive/DriveOptions.h"

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QDir>

namespace zpk {
namespace {

const QString kAllowed = QStringLiteral(
    "allowed: --archive PATH --pictures DIR [--tour | --errands | --open-with FILES | --crash | --after-crash | "
    "--refused] "
    "[--input mouse|keyboard] [--system]");

std::optional<InputKind> inputKind(const QString& name) {
  if (name == QStringLiteral("mouse")) return InputKind::mouse;
  if (name == QStringLiteral("keyboard")) return InputKind::keyboard;
  return std::nullopt;
}

Journey journeyOf(const QCommandLineParser& parser) {
  if (parser.isSet(QStringLiteral("open-with"))) return Journey::opening;
  if (parser.isSet(QStringLiteral("crash"))) return Journey::crash;
  if (parser.isSet(QStringLiteral("after-crash"))) return Journey::afterCrash;
  if (parser.isSet(QStringLiteral("refused"))) return Journey::refused;
  if (parser.isSet(QStringLiteral("errands"))) return Journey::errands;
  return parser.isSet(QStringLiteral("tour")) ? Journey::whole : Journey::backup;
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
  const QCommandLineOption errands(QStringLiteral("errands"));
  const QCommandLineOption files(QStringLiteral("open-with"), {}, path);
  const QCommandLineOption crash(QStringLiteral("crash"));
  const QCommandLineOption afterCrash(QStringLiteral("after-crash"));
  const QCommandLineOption refused(QStringLiteral("refused"));
  const QCommandLineOption input(QStringLiteral("input"), {}, QStringLiteral("kind"), QStringLiteral("mouse"));
  const QCommandLineOption system(QStringLiteral("system"));
  QCommandLineParser parser;
  parser.addOptions({archive, pictures, tour, errands, files, crash, afterCrash, refused, input, system});
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
                      journeyOf(parser),
                      parser.value(files),
                      *kind,
                      parser.isSet(system)};
}

}  // namespace zpk
