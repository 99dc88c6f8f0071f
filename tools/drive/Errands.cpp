#include "tools/drive/Errands.h"

#include <poll.h>
#include <unistd.h>

#include <QStringList>
#include <array>
#include <cstdio>
#include <optional>

#include "tools/drive/TourSteps.h"

namespace zpk {
namespace {

constexpr int kMostAgain = 5;
const QString kRestore = QStringLiteral("restore");
const QString kStopRestore = QStringLiteral("stop-restore");
const QString kRefusedRestore = QStringLiteral("refused-restore");

// Lines of the standard input, taken without waiting for them.
class Lines {
 public:
  // Whether there is a line, or nothing more will come.
  bool isReady() {
    while (!_ended && !_bytes.contains('\n')) {
      pollfd input{STDIN_FILENO, POLLIN, 0};
      if (::poll(&input, 1, 0) <= 0) return false;
      std::array<char, 4096> piece{};
      const ssize_t size = ::read(STDIN_FILENO, piece.data(), piece.size());
      _ended = size <= 0;
      if (size > 0) _bytes.append(piece.data(), size);
    }
    return true;
  }

  std::optional<QString> take() {
    const qsizetype end = _bytes.indexOf('\n');
    if (end < 0) return std::nullopt;
    const QString line = QString::fromUtf8(_bytes.first(end));
    _bytes.remove(0, end + 1);
    return line;
  }

 private:
  QByteArray _bytes;
  bool _ended = false;
};

// The words of an errand, the last of which may have spaces.
QStringList words(const QString& line, int count) {
  QStringList parts;
  for (int i = 0; i < count; ++i) parts += i + 1 < count ? line.section(u' ', i, i) : line.section(u' ', i);
  if (parts.contains(QString())) throw DriveFailed(QStringLiteral("the errand lacks something: ") + line);
  return parts;
}

int numberOf(const QString& word) {
  bool isNumber = false;
  const int number = word.toInt(&isNumber);
  if (!isNumber || number < 0) throw DriveFailed(QStringLiteral("no number: ") + word);
  return number;
}

steps::RestoreErrand restoreErrand(const QString& line) {
  const QStringList parts = words(line, 4);
  steps::RestoreErrand errand{numberOf(parts[1]), parts[3], steps::RestoreSize::most};
  if (parts[2] == QStringLiteral("middle")) {
    errand.size = steps::RestoreSize::middle;
  } else if (parts[2] == QStringLiteral("least")) {
    errand.size = steps::RestoreSize::least;
  } else if (parts[2] != QStringLiteral("most")) {
    throw DriveFailed(QStringLiteral("no size: ") + parts[2]);
  }
  return errand;
}

QString run(Stage& stage, const QString& line) {
  const QString what = line.section(u' ', 0, 0);
  if (what == QStringLiteral("back-up")) return steps::backUpOnce(stage);
  if (what == QStringLiteral("limit")) {
    return steps::setLimit(stage, static_cast<std::uint64_t>(numberOf(words(line, 2)[1])));
  }
  if (what == QStringLiteral("pin")) {
    const QStringList parts = words(line, 3);
    return steps::pinRow(stage, numberOf(parts[1]), parts[2]);
  }
  if (what == QStringLiteral("merge")) return steps::mergeRow(stage, numberOf(words(line, 2)[1]));
  if (what == kRestore) return steps::restore(stage, restoreErrand(line));
  if (what == kStopRestore) return steps::stopRestore(stage, restoreErrand(line));
  if (what == kRefusedRestore) return steps::meetRefusedRestore(stage, restoreErrand(line));
  throw DriveFailed(QStringLiteral("unknown errand: ") + what);
}

// Disks that are changed from outside have the helper send records, each of which takes down the sheet that is
// open.
QString runAgainWhereTheSheetGoes(Stage& stage, const QString& line) {
  for (int again = 0; again < kMostAgain; ++again) {
    try {
      return run(stage, line);
    } catch (const SheetGone&) {
      awaitIdle(stage);
    }
  }
  return run(stage, line);
}

}  // namespace

void runErrands(Stage& stage) {
  Lines lines;
  for (;;) {
    stage.window.waitFor(QStringLiteral("the next errand"), kForABackup, [&] { return lines.isReady(); });
    const auto line = lines.take();
    if (!line) return;
    try {
      std::printf("✓ %s\n", qUtf8Printable(runAgainWhereTheSheetGoes(stage, *line)));
      std::fflush(stdout);
    } catch (const DriveFailed& failure) {
      throw DriveFailed(line->toStdString() + ": " + failure.what());
    }
  }
}

}  // namespace zpk
