#pragma once

#include <QAbstractTableModel>
#include <memory>

#include "base/DateFormatter.h"
#include "base/Localization.h"
#include "records/RLDArchiveItem.h"
#include "records/RecordList.h"

namespace zpk {

// The table of backup points, oldest first: date, label, stored disks, size. Shares the archive record's list.
//
// A list that continues the one before keeps the rows that are there, and with them the selection. Main thread.
class BackupPointsModel final : public QAbstractTableModel {
 public:
  using Points = std::shared_ptr<const RecordList<RLDArchiveItem>>;
  enum Column { date, label, disks, size, columnCount_ };

  BackupPointsModel(const Localization& localization, const DateFormatter& dates);

  // Null is an empty list.
  void setPoints(Points points);

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

 private:
  QString text(const RLDArchiveItem& point, int column) const;

  const Localization& _localization;
  const DateFormatter& _dates;
  Points _points;
};

}  // namespace zpk
