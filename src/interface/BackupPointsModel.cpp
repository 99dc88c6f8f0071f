#include "interface/BackupPointsModel.h"

#include <QIcon>
#include <algorithm>
#include <optional>

#include "app/presentation/ByteSizeString.h"
#include "interface/DisplayText.h"
#include "interface/StaticTexts.h"

namespace zpk {
namespace {

constexpr std::size_t kMostRows = 1'000'000;

std::size_t countOf(const BackupPointsModel::Points& points) {
  return points ? std::min(points->size(), kMostRows) : 0;
}

bool isSamePoint(const RLDArchiveItem& a, const RLDArchiveItem& b) {
  return a.arcIndex() == b.arcIndex() && a.creationDate() == b.creationDate();
}

bool continues(const BackupPointsModel::Points& last, const BackupPointsModel::Points& next) {
  return countOf(last) <= countOf(next) &&
         std::equal(last->begin(), last->begin() + static_cast<std::ptrdiff_t>(countOf(last)), next->begin(),
                    [](const auto& a, const auto& b) { return isSamePoint(*a, *b); });
}

// What the point's disks hold: the used space of their partitions.
std::uint64_t storedBytes(const RLDArchiveItem& point) {
  std::uint64_t bytes = 0;
  for (const auto& disk : point.disks()) {
    for (const auto& partition : disk->partitions()) bytes += partition->partUsedSize();
  }
  return bytes;
}

QString diskNames(const RLDArchiveItem& point) {
  constexpr std::size_t kMostNames = 16;
  std::string names;
  for (std::size_t i = 0; i < std::min(point.disks().size(), kMostNames); ++i) {
    if (!names.empty()) names += ", ";
    names += point.disks()[i]->name().value_or("").substr(0, static_cast<std::size_t>(kLabelTextLimit));
  }
  return displayText(names);
}

// Whether two states of one point read the same in the table.
bool looksAlike(const RLDArchiveItem& a, const RLDArchiveItem& b) {
  return a.isPinned() == b.isPinned() && a.name() == b.name() && storedBytes(a) == storedBytes(b) &&
         diskNames(a) == diskNames(b);
}

// A record does not say what kind its point is, but an archive is one chain: its first point stands by itself, and
// every later one holds what changed since the one before it.
bool isFullPoint(std::size_t row) {
  return row == 0;
}

QVariant columnTitle(int column, const Localization& localization) {
  switch (column) {
    case BackupPointsModel::pinned:
      return localizedText(localization, "Pinned");
    case BackupPointsModel::date:
      return localizedText(localization, "Date");
    case BackupPointsModel::label:
      return localizedText(localization, "Label");
    case BackupPointsModel::kind:
      return localizedText(localization, "Kind");
    case BackupPointsModel::disks:
      return localizedText(localization, "Disks");
    case BackupPointsModel::size:
      return localizedText(localization, "Size");
    default:
      return {};
  }
}

QVariant columnExplanation(int column, const Localization& localization) {
  switch (column) {
    case BackupPointsModel::pinned:
      return localizedText(localization, "A pinned backup point is never merged away.");
    case BackupPointsModel::kind:
      return localizedText(localization, "A full backup point holds everything, an increment what has changed.");
    case BackupPointsModel::size:
      return localizedText(localization, "Used space of the disks when the backup point was made");
    default:
      return {};
  }
}

}  // namespace

BackupPointsModel::BackupPointsModel(const Localization& localization, const DateFormatter& dates)
    : _localization(localization), _dates(dates) {}

void BackupPointsModel::setPoints(Points points) {
  if (!_points || !points || !continues(_points, points)) {
    beginResetModel();
    _points = std::move(points);
    endResetModel();
    return;
  }
  const Points last = _points;
  const int before = rowCount();
  const int after = static_cast<int>(countOf(points));
  if (after > before) beginInsertRows({}, before, after - 1);
  _points = std::move(points);
  if (after > before) endInsertRows();
  tellChangedRows(last);
}

// Of the rows that were there before: labels and pins may have changed.
void BackupPointsModel::tellChangedRows(const Points& before) {
  std::optional<int> first;
  int last = 0;
  for (std::size_t row = 0; row < countOf(before); ++row) {
    if (looksAlike(*(*before)[row], *(*_points)[row])) continue;
    last = static_cast<int>(row);
    if (!first) first = last;
  }
  if (first) emit dataChanged(index(*first, 0), index(last, columnCount_ - 1));
}

void BackupPointsModel::setPinningObstacle(const QString& why) {
  if (why == _pinningObstacle) return;
  _pinningObstacle = why;
  if (rowCount() > 0) emit dataChanged(index(0, pinned), index(rowCount() - 1, pinned));
}

int BackupPointsModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(countOf(_points));
}

int BackupPointsModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : columnCount_;
}

QVariant BackupPointsModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= rowCount()) return {};
  const auto row = static_cast<std::size_t>(index.row());
  if (index.column() == pinned) return pinData(*(*_points)[row], role);
  if (role == Qt::DisplayRole) return text(row, index.column());
  if (role == Qt::TextAlignmentRole && index.column() == size) {
    return QVariant(Qt::AlignTrailing | Qt::AlignVCenter);
  }
  return {};
}

QVariant BackupPointsModel::pinData(const RLDArchiveItem& point, int role) const {
  switch (role) {
    case Qt::CheckStateRole:
      return point.isPinned() ? Qt::Checked : Qt::Unchecked;
    case Qt::AccessibleTextRole:
      return point.isPinned() ? localizedText(_localization, "Pinned") : localizedText(_localization, "Not pinned");
    case Qt::ToolTipRole:
      if (!isPinningAllowed()) return _pinningObstacle;
      return localizedText(_localization, "A pinned backup point is never merged away.");
    default:
      return {};
  }
}

bool BackupPointsModel::setData(const QModelIndex& index, const QVariant& value, int role) {
  const bool isPin = index.isValid() && index.column() == pinned && role == Qt::CheckStateRole;
  if (!isPin || !isPinningAllowed() || index.row() >= rowCount()) return false;
  // Kept here: the list may be another one before the request returns.
  const auto point = (*_points)[static_cast<std::size_t>(index.row())];
  point->setIsPinned(value.toInt() == Qt::Checked);
  return false;
}

Qt::ItemFlags BackupPointsModel::flags(const QModelIndex& index) const {
  const Qt::ItemFlags usual = QAbstractTableModel::flags(index) | Qt::ItemNeverHasChildren;
  return index.column() == pinned ? usual | Qt::ItemIsUserCheckable : usual;
}

QString BackupPointsModel::text(std::size_t row, int column) const {
  const RLDArchiveItem& point = *(*_points)[row];
  switch (column) {
    case label:
      return displayText(point.name().value_or(""));
    case date:
      return point.creationDate() ? displayText(_dates.stringFromDate(*point.creationDate())) : QString();
    case kind:
      return isFullPoint(row) ? localizedText(_localization, "Full") : localizedText(_localization, "Increment");
    case disks:
      return diskNames(point);
    case size:
      return displayText(byteSizeString(storedBytes(point)));
    default:
      return {};
  }
}

QVariant BackupPointsModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal) return {};
  if (role == Qt::TextAlignmentRole) {
    return QVariant((section == size ? Qt::AlignTrailing : Qt::AlignLeading) | Qt::AlignVCenter);
  }
  if (role == Qt::ToolTipRole) return columnExplanation(section, _localization);
  return role == Qt::DisplayRole ? columnTitle(section, _localization) : QVariant();
}

}  // namespace zpk
