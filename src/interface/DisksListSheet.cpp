#include "interface/DisksListSheet.h"

#include <QItemSelectionModel>
#include <QScopedValueRollback>

#include "choosers/SizeSteps.h"
#include "interface/DisplayText.h"
#include "interface/Icons.h"
#include "interface/RestoreEffectText.h"
#include "interface/StaticTexts.h"
#include "ui_DisksListSheet.h"

namespace zpk {

DisksListSheet::DisksListSheet(QWidget& window, std::shared_ptr<ZPKDisksListWindow> chooser,
                               const Localization& localization, const ImageLoader& images)
    : Sheet(window),
      _chooser(std::move(chooser)),
      _localization(localization),
      _disks(localization, images),
      _ui(std::make_unique<Ui::DisksListSheet>()) {
  _ui->setupUi(this);
  localizeStaticTexts(*this, localization);
  _accessory = std::make_unique<Unfolding>(*_ui->accessoryTabView);
  setCancelAction([chosen = _chooser] { chosen->performCancel(); });
  bindList();
  bindAccessory();
  bindEffect();
  bindButtons();
}

DisksListSheet::~DisksListSheet() = default;

void DisksListSheet::bindList() {
  QListView& list = *_ui->disksListContentView;
  list.setItemDelegate(new DiskRows(&list));
  list.setModel(&_disks);
  _bindings.bind(*_chooser, "type", [this] { showType(); });
  _bindings.bind(*_chooser, "disksList", [this] { showDisks(); });
  _bindings.bind(*_chooser, "selectedDisksIndexes", [this] { showSelection(); });
  connect(list.selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] { sendSelection(); });
  connect(&list, &QListView::doubleClicked, _ui->actionButton, [this] { _ui->actionButton->click(); });
}

void DisksListSheet::showType() {
  const bool select = _chooser->type() == ZPKDisksListWindow::kSelectType;
  const QString title = select
                            ? localizedText(_localization, "Choose the disk whose Windows side is to be backed up")
                            : localizedText(_localization, "Choose the disk to restore Windows to");
  _ui->titleLabel->setText(title);
  setWindowTitle(title);
  _ui->disksListContentView->setEmptyText(
      select ? localizedText(_localization, "No disk with a Windows installation was found.")
             : localizedText(_localization, "No disk can take this backup."));
}

void DisksListSheet::showDisks() {
  const QScopedValueRollback showing(_showing, true);
  _disks.setDisks(_chooser->disksList());
  showSelection();
}

void DisksListSheet::showSelection() {
  const QScopedValueRollback showing(_showing, true);
  const auto index = firstIndex(_chooser->selectedDisksIndexes());
  if (!index || *index >= static_cast<std::uint64_t>(_disks.rowCount())) {
    return _ui->disksListContentView->clearSelection();
  }
  _ui->disksListContentView->selectionModel()->setCurrentIndex(_disks.index(static_cast<int>(*index), 0),
                                                               QItemSelectionModel::ClearAndSelect);
}

// One disk of the list is always marked: a click that would unmark it changes nothing.
void DisksListSheet::sendSelection() {
  if (_showing) return;
  IndexSet rows;
  for (const QModelIndex& row : _ui->disksListContentView->selectionModel()->selectedRows()) {
    rows.insert(static_cast<std::uint64_t>(row.row()));
  }
  if (rows.empty()) return showSelection();
  if (rows != _chooser->selectedDisksIndexes()) _chooser->setSelectedDisksIndexes(std::move(rows));
}

void DisksListSheet::bindAccessory() {
  _bindings.bind(*_chooser, {"noFreeSpace", "errorDescription"}, [this] { showRefusal(); });
  _bindings.bind(*_chooser, {"sliderValue", "sliderRange"}, [this] { showSlider(); });
  _bindings.bind(*_chooser, "accessory", [this] { _accessory->setUnfolded(_chooser->accessoryPresent()); });
  connect(_ui->slider, &SizeSlider::sizeChosen, this, [this](quint64 size) { _chooser->setSliderValue(size); });
}

void DisksListSheet::bindEffect() {
  const int side = fontMetrics().height();
  _ui->restoreEffectSymbol->setPixmap(symbolIcon(Symbol::warning).pixmap(QSize(side, side), devicePixelRatioF()));
  _bindings.bind(*_chooser, "restoreEffect", [this] { showEffect(); });
}

void DisksListSheet::showEffect() {
  const auto& effect = _chooser->restoreEffect();
  _effect = effect ? restoreEffectText(*effect, _localization) : QString();
  _ui->restoreEffectLabel->setText(placedText(withBreaks(_effect), layoutDirection()));
  _ui->restoreEffectSymbol->setVisible(effect && isDestructive(*effect));
  _ui->restoreEffectView->setVisible(effect.has_value());
  // Of the button as well: it is what does it.
  _ui->actionButton->setAccessibleDescription(_effect);
  remark();
}

// Said by the list: that is where the focus is while disks are tried, and a changed description is spoken.
void DisksListSheet::remark() {
  _ui->disksListContentView->setRemark(_chooser->noFreeSpace() ? displayText(_chooser->errorDescription())
                                                               : _effect);
}

void DisksListSheet::showRefusal() {
  const QString why = displayText(_chooser->errorDescription());
  _ui->errorDescriptionLabel->setText(placedText(why, layoutDirection()));
  _ui->accessoryTabView->setCurrentIndex(_chooser->noFreeSpace() ? 1 : 0);
  remark();
}

void DisksListSheet::showSlider() {
  const QString size = displayText(_chooser->restoreSizeText());
  _ui->restoreSizeLabel->setText(placedText(size, layoutDirection()));
  _ui->slider->setSizes(SizeSteps(_chooser->sliderMinimum(), _chooser->sliderMaximum()));
  _ui->slider->setChosenSize(_chooser->sliderValue().value_or(0));
  _ui->slider->setAccessibleDescription(size);
}

void DisksListSheet::bindButtons() {
  _bindings.bind(*_chooser, "actionTitle",
                 [this] { _ui->actionButton->setText(QString::fromStdString(_chooser->actionTitle())); });
  _bindings.bind(*_chooser, "actionEnabled", [this] { _ui->actionButton->setEnabled(_chooser->actionEnabled()); });
  connect(_ui->actionButton, &QPushButton::clicked, this, [chosen = _chooser] {
    // Held on the stack: the action takes the sheet down, and this closure with it.
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
    const auto kept = chosen;
    kept->performOk();
  });
  connect(_ui->cancelButton, &QPushButton::clicked, this, [this] { reject(); });
}

}  // namespace zpk
