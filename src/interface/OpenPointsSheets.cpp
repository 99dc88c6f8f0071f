#include "interface/OpenPointsSheets.h"

#include <QWidget>
#include <utility>

#include "interface/DisplayText.h"
#include "interface/MessageSheet.h"
#include "interface/StaticTexts.h"

namespace zpk {
namespace {

constexpr qsizetype kPathLimit = 300;
constexpr qsizetype kReasonLimit = 600;

void takeDown(MessageSheet* sheet) {
  if (!sheet) return;
  sheet->hide();
  sheet->deleteLater();
}

}  // namespace

// While it closes what is open, it says so and takes no other answer.
class OpenPointsQuestion final : public MessageSheet {
 public:
  using MessageSheet::MessageSheet;
  void showClosing(const QString& title) {
    setTitle(title);
    setText({});
    setEnabled(false);
  }
};

OpenPointsSheets::OpenPointsSheets(QWidget& window, AttachedDrives& drives, const Localization& localization,
                                   PointName pointName)
    : _window(window), _drives(drives), _localization(localization), _pointName(std::move(pointName)) {
  _bindings.bind(_drives, "lostDrives", [this] { showLost(); });
  _bindings.bind(_drives, "partialDrives", [this] { showPartial(); });
}

OpenPointsSheets::~OpenPointsSheets() = default;

// A window that is not on the screen comes back for it.
void OpenPointsSheets::ask(std::function<void(bool quits)> answered) {
  _answered = std::move(answered);
  if (_question) return;
  _window.setWindowState(_window.windowState() & ~Qt::WindowMinimized);
  _window.show();
  _window.raise();
  _window.activateWindow();
  _question = new OpenPointsQuestion(
      _window,
      {.symbol = Symbol::warning,
       .title = localizedText(_localization, "Backup points are open. Close them and quit?"),
       .text = localizedText(_localization,
                             "Other programs can then no longer read their files. The backups stay as they are."),
       .accept = MessageSheet::Answer{localizedText(_localization, "Close and &Quit"), [this] { closeAndQuit(); }},
       .cancel = MessageSheet::Answer{localizedText(_localization, "&Cancel"), [this] { answer(false); }}});
  _question->open();
}

void OpenPointsSheets::answer(bool quits) {
  takeDown(_question);
  _question = nullptr;
  if (const auto answered = std::exchange(_answered, nullptr)) answered(quits);
}

void OpenPointsSheets::closeAndQuit() {
  _question->showClosing(localizedText(_localization, "The open backup points are being closed."));
  _drives.closeAll([here = QPointer<OpenPointsQuestion>(_question), this] {
    if (here) answer(true);
  });
}

void OpenPointsSheets::showLost() {
  const std::vector<AttachedDrive> lost = _drives.takeLostDrives();
  if (lost.empty() || !_window.isVisible()) return;
  if (_notice) return _notice->setText(lostText(lost));
  _notice = new MessageSheet(_window,
                             {.symbol = Symbol::warning,
                              .title = localizedText(_localization, "An opened backup point is no longer there."),
                              .text = lostText(lost),
                              .accept = std::nullopt,
                              .cancel = MessageSheet::Answer{localizedText(_localization, "&OK"), [this] {
                                                               takeDown(_notice);
                                                               _notice = nullptr;
                                                             }}});
  _notice->setAdvice(
      localizedText(_localization,
                    "What showed its files has ended unexpectedly. The backup itself is not changed; "
                    "open it again to go on."));
  _notice->open();
}

void OpenPointsSheets::showPartial() {
  QStringList reasons;
  for (const AttachedDrive& drive : _drives.takePartialDrives())
    reasons += displayParagraph(drive.missing, kReasonLimit);
  if (reasons.isEmpty() || !_window.isVisible()) return;
  takeDown(_partialNotice);
  _partialNotice =
      new MessageSheet(_window, {.symbol = Symbol::warning,
                                 .title = localizedText(_localization, "Part of the backup point cannot be shown."),
                                 .text = reasons.join(u'\n'),
                                 .accept = std::nullopt,
                                 .cancel = MessageSheet::Answer{localizedText(_localization, "&OK"), [this] {
                                                                  takeDown(_partialNotice);
                                                                  _partialNotice = nullptr;
                                                                }}});
  _partialNotice->setAdvice(localizedText(_localization, "Everything else in it is open."));
  _partialNotice->open();
}

// A point by its name, which it has in the list; else by its image.
QString OpenPointsSheets::lostText(const std::vector<AttachedDrive>& lost) const {
  QStringList names;
  for (const AttachedDrive& drive : lost) {
    QString name = _pointName(drive.imagePath);
    if (name.isEmpty()) name = withBreaks(displayParagraph(drive.imagePath, kPathLimit));
    if (!names.contains(name)) names += name;
  }
  return names.join(u'\n');
}

}  // namespace zpk
