#include "interface/BackupPointsModel.h"

#include <QIcon>
#include <algorithm>

#include "app/presentation/ByteSizeString.h"
#include "interface/DisplayText.h"

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
  const int before = rowCount();
  const int after = static_cast<int>(countOf(points));
  if (after > before) beginInsertRows({}, before, after - 1);
  _points = std::move(points);
  if (after > before) endInsertRows();
  // Labels and pins may have changed.
  if (before > 0) emit dataChanged(index(0, 0), index(before - 1, columnCount_ - 1));
}

int BackupPointsModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(countOf(_points));
}

int BackupPointsModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : columnCount_;
}

QVariant BackupPointsModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= rowCount()) return {};
  const RLDArchiveItem& point = *(*_points)[static_cast<std::size_t>(index.row())];
  if (role == Qt::DisplayRole) return text(point, index.column());
  if (role == Qt::TextAlignmentRole && index.column() == size)
    return QVariant(Qt::AlignTrailing | Qt::AlignVCenter);
  return {};
}

QString BackupPointsModel::text(const RLDArchiveItem& point, int column) const {
  switch (column) {
    case label:
      return displayText(point.name().value_or(""));
    case date:
      return point.creationDate() ? displayText(_dates.stringFromDate(*point.creationDate())) : QString();
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
  if (role != Qt::DisplayRole) return {};
  static constexpr const char* kTitles[columnCount_] = {"Date", "Label", "Disks", "Size"};
  return section < columnCount_ ? QString::fromStdString(_localization.localizedString(kTitles[section]))
                                : QVariant();
}

}  // namespace zpk
