#include "interface/DisksListSheet.h"

#include <QItemSelectionModel>
#include <QScopedValueRollback>
#include <QSignalBlocker>

#include "choosers/SizeSteps.h"
#include "interface/DisplayText.h"
#include "interface/StaticTexts.h"
#include "ui_DisksListSheet.h"

namespace zpk {
namespace {

// Disks are larger than a slider's numbers: it has steps, not bytes.
SizeSteps stepsOf(const ZPKDisksListWindow& chooser) {
  return {chooser.sliderMinimum(), chooser.sliderMaximum()};
}

}  // namespace

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
  const QModelIndex row = _disks.index(static_cast<int>(*index), 0);
  if (_ui->disksListContentView->currentIndex() != row) _ui->disksListContentView->setCurrentIndex(row);
}

// The row that is marked, and not the one with the focus: a row can be unmarked, and then nothing is chosen.
void DisksListSheet::sendSelection() {
  if (_showing) return;
  IndexSet rows;
  for (const QModelIndex& row : _ui->disksListContentView->selectionModel()->selectedRows()) {
    rows.insert(static_cast<std::uint64_t>(row.row()));
  }
  if (rows != _chooser->selectedDisksIndexes()) _chooser->setSelectedDisksIndexes(std::move(rows));
}

void DisksListSheet::bindAccessory() {
  _bindings.bind(*_chooser, "noFreeSpace",
                 [this] { _ui->accessoryTabView->setCurrentIndex(_chooser->noFreeSpace() ? 1 : 0); });
  _bindings.bind(*_chooser, "errorDescription",
                 [this] { _ui->errorDescriptionLabel->setText(displayText(_chooser->errorDescription())); });
  _bindings.bind(*_chooser, {"sliderValue", "sliderRange"}, [this] { showSlider(); });
  _bindings.bind(*_chooser, "accessory", [this] { _accessory->setUnfolded(_chooser->accessoryPresent()); });
  connect(_ui->slider, &QSlider::valueChanged, this, [this](int step) { sliderMoved(step); });
}

void DisksListSheet::showSlider() {
  const SizeSteps steps = stepsOf(*_chooser);
  const QString size = displayText(_chooser->restoreSizeText());
  _ui->restoreSizeLabel->setText(size);
  // A step's number says nothing to someone who cannot see where it is.
  _ui->slider->setAccessibleDescription(size);
  const QSignalBlocker quiet(_ui->slider);
  _ui->slider->setRange(0, steps.last());
  _ui->slider->setPageStep(steps.page());
  _ui->slider->setValue(steps.stepNearest(_chooser->sliderValue().value_or(0)));
}

void DisksListSheet::sliderMoved(int step) {
  _chooser->setSliderValue(stepsOf(*_chooser).sizeAt(step));
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
