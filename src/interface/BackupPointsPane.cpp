#include "interface/BackupPointsPane.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QPushButton>
#include <QStringList>
#include <QVBoxLayout>

#include "interface/ActionButton.h"
#include "interface/BackupPointsModel.h"
#include "interface/PinDelegate.h"
#include "interface/RowSpace.h"
#include "interface/StaticTexts.h"
#include "interface/WindowActions.h"
#include "interface/WindowTexts.h"

namespace zpk {
namespace {

// In characters of the table's font.
constexpr int kDateWidth = 25;
constexpr int kKindWidth = 14;
constexpr int kDisksWidth = 26;
constexpr int kSizeWidth = 13;
// In points.
constexpr int kRoomBesideTitle = 24;
constexpr int kButtonWidth = 110;

}  // namespace

BackupPointsPane::BackupPointsPane(ZPKUIDaemonController& controller, const WindowActions& actions,
                                   const Localization& localization, const DateFormatter& dates, QWidget* parent)
    : QWidget(parent),
      _controller(controller),
      _localization(localization),
      _points(std::make_unique<BackupPointsModel>(localization, dates)),
      _table(new EmptyTextTable(this)) {
  setUpTable();
  _table->addActions({actions.restore, actions.merge, actions.pin, actions.open});
  _table->setContextMenuPolicy(Qt::ActionsContextMenu);
  auto* whole = new QVBoxLayout(this);
  whole->setContentsMargins(0, 6, 0, 0);
  whole->setSpacing(8);
  whole->addWidget(_table, 1);
  whole->addLayout(makeButtons(actions));
  bindTable();
}

BackupPointsPane::~BackupPointsPane() = default;

void BackupPointsPane::setUpTable() {
  _table->setObjectName(QStringLiteral("arcItemsTable"));
  _table->setAccessibleName(localizedText(_localization, "Backup points, oldest first"));
  _table->setRootIsDecorated(false);
  _table->setUniformRowHeights(true);
  _table->setAlternatingRowColors(true);
  _table->setAllColumnsShowFocus(true);
  _table->setSelectionMode(QAbstractItemView::ExtendedSelection);
  _table->setModel(_points.get());
  _table->setItemDelegate(new RowSpace(_table));
  _table->setItemDelegateForColumn(BackupPointsModel::pinned, new PinDelegate(*_points, _table));

  QHeaderView& header = *_table->header();
  header.setStretchLastSection(false);
  header.setSectionResizeMode(BackupPointsModel::label, QHeaderView::Stretch);
  header.setSectionsMovable(false);
  const int character = _table->fontMetrics().averageCharWidth();
  header.resizeSection(BackupPointsModel::pinned,
                       header.sectionSizeHint(BackupPointsModel::pinned) + kRoomBesideTitle);
  header.resizeSection(BackupPointsModel::date, kDateWidth * character);
  header.resizeSection(BackupPointsModel::kind, kKindWidth * character);
  header.resizeSection(BackupPointsModel::disks, kDisksWidth * character);
  header.resizeSection(BackupPointsModel::size, kSizeWidth * character);
}

QLayout* BackupPointsPane::makeButtons(const WindowActions& actions) {
  auto* row = new QHBoxLayout;
  row->setSpacing(8);
  const auto add = [&](QAction* action, const char* name) {
    auto* button = new QPushButton(this);
    button->setObjectName(QLatin1String(name));
    button->setMinimumWidth(kButtonWidth);
    followAction(*button, *action);
    row->addWidget(button);
  };
  add(actions.restore, "restoreButton");
  add(actions.merge, "mergeButton");
  add(actions.open, "openButton");
  row->addStretch();
  return row;
}

void BackupPointsPane::bindTable() {
  connect(_table->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] { sendSelection(); });
  connect(_points.get(), &QAbstractItemModel::modelReset, this, [this] { sendSelection(); });
  _bindings.bind(_controller, "arcItems", [this] { _points->setPoints(_controller.arcItems()); });
  _bindings.bind(_controller, {"launched", "helperReachable", "currentStatus", "inProgress"}, [this] {
    const auto obstacle = pinningObstacle(_controller);
    _points->setPinningObstacle(obstacle ? obstacleText(*obstacle, _localization) : QString());
  });
  _bindings.bind(_controller, {"currentStatus", "sourceFound", "arcSet", "backupEnabled", "inProgress"},
                 [this] { _table->setEmptyText(emptyPointsText(_controller, _localization)); });
}

void BackupPointsPane::sendSelection() {
  IndexSet rows;
  for (const QModelIndex& index : _table->selectionModel()->selectedRows()) {
    rows.insert(static_cast<std::uint64_t>(index.row()));
  }
  _controller.setSelectedArcItemsIndexes(std::move(rows));
}

QString BackupPointsPane::selectionText() const {
  QString text;
  for (const std::uint64_t row : _controller.selectedArcItemsIndexes()) {
    QStringList cells;
    for (int column = BackupPointsModel::date; column < BackupPointsModel::columnCount_; ++column) {
      cells += _points->index(static_cast<int>(row), column).data().toString();
    }
    text += cells.join(u'\t') + u'\n';
  }
  return text;
}

}  // namespace zpk
