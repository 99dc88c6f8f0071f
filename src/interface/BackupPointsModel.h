#pragma once

#include <QAbstractTableModel>
#include <QString>
#include <memory>

#include "base/DateFormatter.h"
#include "base/Localization.h"
#include "records/RLDArchiveItem.h"
#include "records/RecordList.h"

namespace zpk {

// The table of backup points, oldest first: pin, date, label, kind, stored disks, size. Shares the archive record's
// list.
//
// A list that continues the one before keeps the rows that are there, and with them the selection, and tells of the
// rows that changed alone. A pin that is set asks the point for it and changes nothing here: the new state comes
// with the helper's next record. Main thread.
class BackupPointsModel final : public QAbstractTableModel {
 public:
  using Points = std::shared_ptr<const RecordList<RLDArchiveItem>>;
  enum Column { pinned, date, label, kind, disks, size, columnCount_ };

  BackupPointsModel(const Localization& localization, const DateFormatter& dates);

  // Null is an empty list.
  void setPoints(Points points);
  // Why no pin can be set now; empty when it can.
  void setPinningObstacle(const QString& why);
  bool isPinningAllowed() const { return _pinningObstacle.isEmpty(); }

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  bool setData(const QModelIndex& index, const QVariant& value, int role) override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

 private:
  QString text(std::size_t row, int column) const;
  QVariant pinData(const RLDArchiveItem& point, int role) const;
  void tellChangedRows(const Points& before);

  const Localization& _localization;
  const DateFormatter& _dates;
  Points _points;
  QString _pinningObstacle;
};

}  // namespace zpk
