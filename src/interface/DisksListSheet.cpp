#include "interface/DisksListSheet.h"

#include <QItemSelectionModel>
#include <QSignalBlocker>
#include <algorithm>
#include <cmath>

#include "app/presentation/ByteSizeString.h"
#include "interface/DisplayText.h"
#include "interface/Pictures.h"
#include "interface/StaticTexts.h"
#include "ui_DisksListSheet.h"

namespace zpk {
namespace {

constexpr std::size_t kMostDisks = 10'000;

QString described(const ZPKDisk& disk) {
  return displayText(disk.name().value_or("")) + u'\n' + QString::fromStdString(byteSizeString(disk.diskSize()));
}

}  // namespace

DisksListSheet::DisksListSheet(QWidget& window, std::shared_ptr<ZPKDisksListWindow> chooser,
                               const Localization& localization, const ImageLoader& images)
    : Sheet(window),
      _chooser(std::move(chooser)),
      _localization(localization),
      _images(images),
      _ui(std::make_unique<Ui::DisksListSheet>()) {
  _ui->setupUi(this);
  localizeStaticTexts(*this, localization);
  setCancelAction([chosen = _chooser] { chosen->performCancel(); });
  bindList();
  bindAccessory();
  bindButtons();
}

DisksListSheet::~DisksListSheet() = default;

void DisksListSheet::bindList() {
  _ui->disksListContentView->setModel(&_disks);
  _bindings.bind(*_chooser, "type", [this] {
    const bool select = _chooser->type() == ZPKDisksListWindow::kSelectType;
    const char* title =
        select ? "Choose the disk whose Windows side is to be backed up" : "Choose the disk to restore Windows to";
    _ui->titleLabel->setText(localizedText(_localization, title));
    setWindowTitle(_ui->titleLabel->text());
    _ui->disksListContentView->setEmptyText(
        localizedText(_localization,
                      select ? "No disk with a Windows installation was found." : "No disk can take this backup."));
  });
  _bindings.bind(*_chooser, "disksList", [this] { showDisks(); });
  _bindings.bind(*_chooser, "selectedDisksIndexes", [this] { showSelection(); });
  connect(_ui->disksListContentView->selectionModel(), &QItemSelectionModel::selectionChanged, this,
          [this] { sendSelection(); });
  connect(_ui->disksListContentView, &QListView::doubleClicked, _ui->actionButton,
          [this] { _ui->actionButton->click(); });
}

void DisksListSheet::showDisks() {
  const QSignalBlocker quiet(_ui->disksListContentView->selectionModel());
  _disks.clear();
  const auto& disks = _chooser->disksList();
  for (std::size_t i = 0; i < std::min(disks.size(), kMostDisks); ++i) {
    auto* row = new QStandardItem(iconOf(disks[i]->icon(_images), Symbol::disk), described(*disks[i]));
    _disks.appendRow(row);
  }
  showSelection();
}

void DisksListSheet::showSelection() {
  const auto index = firstIndex(_chooser->selectedDisksIndexes());
  if (!index || *index >= static_cast<std::uint64_t>(_disks.rowCount())) {
    return _ui->disksListContentView->clearSelection();
  }
  const QModelIndex row = _disks.index(static_cast<int>(*index), 0);
  if (_ui->disksListContentView->currentIndex() != row) _ui->disksListContentView->setCurrentIndex(row);
}

// The row that is marked, and not the one with the focus: a row can be unmarked, and then nothing is chosen.
void DisksListSheet::sendSelection() {
  IndexSet rows;
  for (const QModelIndex& row : _ui->disksListContentView->selectionModel()->selectedRows()) {
    rows.insert(static_cast<std::uint64_t>(row.row()));
  }
  if (rows != _chooser->selectedDisksIndexes()) _chooser->setSelectedDisksIndexes(std::move(rows));
}

void DisksListSheet::bindAccessory() {
  _bindings.bind(*_chooser, "accessory",
                 [this] { _ui->accessoryTabView->setVisible(_chooser->accessoryPresent()); });
  _bindings.bind(*_chooser, "noFreeSpace",
                 [this] { _ui->accessoryTabView->setCurrentIndex(_chooser->noFreeSpace() ? 1 : 0); });
  _bindings.bind(*_chooser, "errorDescription", [this] {
    _ui->errorDescriptionLabel->setText(QString::fromStdString(_chooser->errorDescription()));
  });
  _bindings.bind(*_chooser, {"sliderValue", "sliderRange"}, [this] { showSlider(); });
  connect(_ui->slider, &QSlider::valueChanged, this, [this](int step) { sliderMoved(step); });
}

// The slider has steps, not bytes: disks are larger than its numbers.
void DisksListSheet::showSlider() {
  _ui->restoreSizeLabel->setText(QString::fromStdString(_chooser->restoreSizeText()));
  const double range = _chooser->sliderMaximum() - _chooser->sliderMinimum();
  const double size = static_cast<double>(_chooser->sliderValue().value_or(0));
  const double share = range > 0 ? (size - _chooser->sliderMinimum()) / range : 1;
  const QSignalBlocker quiet(_ui->slider);
  _ui->slider->setValue(static_cast<int>(std::lround(std::clamp(share, 0.0, 1.0) * _ui->slider->maximum())));
}

void DisksListSheet::sliderMoved(int step) {
  const double share = static_cast<double>(step) / _ui->slider->maximum();
  const double size = _chooser->sliderMinimum() + share * (_chooser->sliderMaximum() - _chooser->sliderMinimum());
  const QSignalBlocker quiet(_ui->slider);
  _chooser->setSliderValue(static_cast<std::uint64_t>(size));
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
