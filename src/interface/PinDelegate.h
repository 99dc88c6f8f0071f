#pragma once

#include "interface/RowSpace.h"

namespace zpk {

class BackupPointsModel;

// The pin's check box in a row of backup points: fainter while it cannot be used, and with an edge that can be told
// from a dark row.
class PinDelegate final : public RowSpace {
 public:
  explicit PinDelegate(const BackupPointsModel& points, QObject* parent = nullptr)
      : RowSpace(parent), _points(points) {}

  void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;

 protected:
  void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;

 private:
  const BackupPointsModel& _points;
};

}  // namespace zpk
