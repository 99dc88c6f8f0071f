#include "interface/PinDelegate.h"

#include <QApplication>
#include <QStyle>

#include "interface/BackupPointsModel.h"
#include "interface/CheckBoxEdge.h"

namespace zpk {

void PinDelegate::initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const {
  RowSpace::initStyleOption(option, index);
  if (!_points.isPinningAllowed()) option->state &= ~QStyle::State_Enabled;
}

void PinDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
  RowSpace::paint(painter, option, index);
  QStyleOptionViewItem styled = option;
  initStyleOption(&styled, index);
  const QStyle& style = styled.widget ? *styled.widget->style() : *QApplication::style();
  paintCheckBoxEdge(*painter, style, styled,
                    style.subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &styled, styled.widget));
}

}  // namespace zpk
