#pragma once

#include <QListView>
#include <QPainter>
#include <QTreeView>

namespace zpk {

// A list or table that says in its middle why it is empty, or what to do first, instead of showing nothing.
template <class View>
class EmptyTextView : public View {
 public:
  using View::View;

  void setEmptyText(const QString& text) {
    _emptyText = text;
    this->setAccessibleDescription(text);
    this->viewport()->update();
  }

 protected:
  void paintEvent(QPaintEvent* event) override {
    View::paintEvent(event);
    if (_emptyText.isEmpty() || (this->model() && this->model()->rowCount() > 0)) return;
    QPainter painter(this->viewport());
    QColor faint = this->palette().color(QPalette::Text);
    faint.setAlphaF(0.72F);
    painter.setPen(faint);
    const QRect area = this->viewport()->rect().adjusted(24, 12, -24, -12);
    painter.drawText(area, static_cast<int>(Qt::AlignCenter) | Qt::TextWordWrap, _emptyText);
  }

 private:
  QString _emptyText;
};

using EmptyTextList = EmptyTextView<QListView>;
using EmptyTextTable = EmptyTextView<QTreeView>;

}  // namespace zpk
