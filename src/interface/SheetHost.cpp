#include "interface/SheetHost.h"

#include <QDialog>
#include <QDir>
#include <QProgressBar>
#include <QVBoxLayout>
#include <variant>

#include "interface/ArchivePanel.h"
#include "interface/DisksListSheet.h"
#include "interface/DisplayText.h"
#include "interface/LabelSheet.h"
#include "interface/MessageSheet.h"
#include "interface/StaticTexts.h"
#include "interface/WindowTexts.h"

namespace zpk {
namespace {

constexpr qsizetype kErrorTextLimit = 2000;

// Nothing to answer: it goes when the helper is ready. One that is gone never says so, and must not hold the
// window.
class BusySheet final : public MessageSheet {
 public:
  BusySheet(QWidget& window, ZPKUIDaemonController& controller, const Localization& localization)
      : MessageSheet(window, messageOf(controller, localization)) {
    auto* bar = new QProgressBar(this);
    bar->setRange(0, 0);
    bar->setTextVisible(false);
    contents().addWidget(bar);
    _bindings.bind(controller, "helperReachable", [this, bar, &controller, &localization] {
      showHelper(controller.isHelperReachable(), localization);
      bar->setAccessibleName(accessibleName());
    });
  }

 private:
  static Message messageOf(ZPKUIDaemonController& controller, const Localization& localization) {
    return {.symbol = Symbol::disk,
            .title = {},
            .text = {},
            .accept = std::nullopt,
            .cancel = Answer{localizedText(localization, "&Close"), [&controller] {
                               if (!controller.isHelperReachable()) controller.sheetCancelAction();
                             }}};
  }

  void showHelper(bool there, const Localization& l) {
    setTitle(there ? localizedText(l, "The helper is busy")
                   : localizedText(l, "The backup helper is not running."));
    setText(there ? localizedText(l, "Disks and archive are being read. This takes a moment.")
                  : localizedText(l, "Waiting for the helper…"));
    offerCancel(!there);
  }

  Bindings _bindings;
};

QString foreignArchiveText(const ZPKUIDaemonController& controller, const Localization& localization) {
  const QString archive = displayText(controller.destinationInfo()["name"].textOr(""));
  const QString text = localizedText(
      localization,
      "“NAME” holds backup points of another disk. Backing up adds a backup point of the disk that you have chosen "
      "to it. The backup points of the other disk stay as they are.\n\nTo keep the two apart, cancel and choose "
      "another location.");
  return withBreaks(filledText(text, {{"NAME", archive}}));
}

}  // namespace

SheetHost::SheetHost(QWidget& window, ZPKUIDaemonController& controller, const Surroundings& surroundings)
    : _window(window),
      _controller(controller),
      _localization(surroundings.localization),
      _dates(surroundings.dates),
      _images(surroundings.images),
      _actions(surroundings.actions) {}

SheetHost::~SheetHost() = default;

QDialog* SheetHost::currentSheet() const {
  return _sheet;
}

void SheetHost::beginSheet(const SheetWindow& window) {
  _sheet = makeSheet(window);
  if (!_sheet) return;
  _sheet->addActions(_actions);
  _sheet->open();
  if (auto* sheet = dynamic_cast<Sheet*>(_sheet.data())) sheet->shown();
}

void SheetHost::endSheet(const SheetWindow& /*window*/) {
  _bindings.clear();
  QDialog* sheet = _sheet;
  _sheet = nullptr;
  if (!sheet) return;
  sheet->hide();
  // Later, since one of its own buttons may be sending the action that ends it.
  sheet->deleteLater();
}

QDialog* SheetHost::makeSheet(const SheetWindow& window) {
  if (const auto* outlet = std::get_if<SheetOutlet>(&window)) return makeOutlet(*outlet);
  if (const auto* chooser = std::get_if<std::shared_ptr<ZPKDisksListWindow>>(&window)) {
    return new DisksListSheet(_window, *chooser, _localization, _images);
  }
  if (const auto* selector = std::get_if<std::shared_ptr<ZPKArchiveSelector>>(&window)) {
    return makeArchivePanel(*selector);
  }
  return nullptr;
}

// Opens where the archive is kept now, unless that place is away: looking for it could take forever.
QDialog* SheetHost::makeArchivePanel(const std::shared_ptr<ZPKArchiveSelector>& selector) {
  auto* panel = new ArchivePanel(_window, selector, _localization);
  const auto status = _controller.currentStatus();
  if (!status || statuskey::arcState.read(*status) == ArcState::unavailable) return panel;
  const QString folder = QString::fromStdString(_controller.destinationInfo()["location"].textOr(""));
  if (!folder.isEmpty() && QDir(folder).exists()) panel->startIn(folder);
  return panel;
}

QDialog* SheetHost::makeOutlet(SheetOutlet outlet) {
  switch (outlet) {
    case SheetOutlet::updateInfoWindow:
      return new BusySheet(_window, _controller, _localization);
    case SheetOutlet::errorDescriptionWindow:
      return makeErrorDescription();
    case SheetOutlet::arcNotFromSourceWindow:
      return makeArcNotFromSource();
    case SheetOutlet::mergeConfirmationWindow:
      return makeMergeConfirmation();
    case SheetOutlet::incrementLabelWindow:
      return new LabelSheet(_window, _controller, _localization);
  }
  return nullptr;
}

QDialog* SheetHost::makeErrorDescription() {
  auto* sheet =
      new MessageSheet(_window, {.symbol = Symbol::error,
                                 .title = localizedText(_localization, "The operation could not be completed"),
                                 .text = {},
                                 .accept = std::nullopt,
                                 .cancel = MessageSheet::Answer{localizedText(_localization, "&OK"),
                                                                [this] { _controller.sheetCancelAction(); }}});
  _bindings.bind(_controller, "errorDescription", [this, sheet] {
    sheet->setText(withBreaks(displayParagraph(_controller.errorDescription(), kErrorTextLimit)));
  });
  _bindings.bind(_controller, "errorAdvice",
                 [this, sheet] { sheet->setAdvice(QString::fromStdString(_controller.errorAdvice())); });
  return sheet;
}

QDialog* SheetHost::makeArcNotFromSource() {
  return new MessageSheet(_window,
                          {.symbol = Symbol::warning,
                           .title = localizedText(_localization, "This archive was made from another disk"),
                           .text = foreignArchiveText(_controller, _localization),
                           .accept = MessageSheet::Answer{localizedText(_localization, "&Back Up Anyway"),
                                                          [this] { _controller.backupOntoForeignArchive(); }},
                           .cancel = MessageSheet::Answer{localizedText(_localization, "&Cancel"),
                                                          [this] { _controller.sheetCancelAction(); }}});
}

// Which points, when the selection still says it.
QString SheetHost::mergeText() const {
  const auto& points = _controller.arcItems();
  const auto selected = firstIndex(_controller.selectedArcItemsIndexes());
  if (!points || !selected || *selected == 0 || *selected >= points->size()) {
    return localizedText(_localization, "The older of the two can then no longer be restored on its own.");
  }
  const QString text = localizedText(_localization,
                                     "Both become one backup point, which holds what the newer one holds:\n"
                                     "NEWER\n\nThe older one can then no longer be restored on its own:\nOLDER");
  return withBreaks(filledText(text, {{"NEWER", pointText(*(*points)[*selected], _dates)},
                                      {"OLDER", pointText(*(*points)[*selected - 1], _dates)}}));
}

QDialog* SheetHost::makeMergeConfirmation() {
  return new MessageSheet(_window,
                          {.symbol = Symbol::warning,
                           .title = localizedText(_localization, "Merge this backup point into the one before it?"),
                           .text = mergeText(),
                           .accept = MessageSheet::Answer{localizedText(_localization, "&Merge"),
                                                          [this] { _controller.sheetOKAction(); }},
                           .cancel = MessageSheet::Answer{localizedText(_localization, "&Cancel"),
                                                          [this] { _controller.sheetCancelAction(); }}});
}

}  // namespace zpk
