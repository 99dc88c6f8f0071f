#include "interface/CheckBox.h"

#include <QPainter>
#include <QStyle>
#include <QStyleOptionButton>

#include "interface/CheckBoxEdge.h"

namespace zpk {

void CheckBox::paintEvent(QPaintEvent* event) {
  QCheckBox::paintEvent(event);
  QStyleOptionButton option;
  initStyleOption(&option);
  QPainter painter(this);
  paintCheckBoxEdge(painter, *style(), option,
                    style()->subElementRect(QStyle::SE_CheckBoxIndicator, &option, this));
}

}  // namespace zpk
