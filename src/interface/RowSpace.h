#pragma once

#include <QStyledItemDelegate>

namespace zpk {

// The style's own rows with room above and below the text, so that a table can be read along its lines.
class RowSpace : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;

  QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
    constexpr int kSpace = 8;
    return QStyledItemDelegate::sizeHint(option, index) + QSize(0, kSpace);
  }
};

}  // namespace zpk
