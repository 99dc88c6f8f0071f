#pragma once

#include <QListView>
#include <QPainter>
#include <QTreeView>

namespace zpk {

// A list or table that says in its middle why it is empty, or what to do first, instead of showing nothing.
// Assistive technology hears it too, while the list is empty.
template <class View>
class EmptyTextView : public View {
 public:
  using View::View;

  void setEmptyText(const QString& text) {
    _emptyText = text;
    describe();
    this->viewport()->update();
  }

  // What there is to say about the rows that it has; for assistive technology alone, since it is shown elsewhere.
  void setRemark(const QString& remark) {
    _remark = remark;
    describe();
  }

  void setModel(QAbstractItemModel* model) override {
    View::setModel(model);
    if (!model) return;
    QObject::connect(model, &QAbstractItemModel::modelReset, this, [this] { describe(); });
    QObject::connect(model, &QAbstractItemModel::rowsInserted, this, [this] { describe(); });
    QObject::connect(model, &QAbstractItemModel::rowsRemoved, this, [this] { describe(); });
  }

 protected:
  void paintEvent(QPaintEvent* event) override {
    View::paintEvent(event);
    if (_emptyText.isEmpty() || !isWithoutRows()) return;
    QPainter painter(this->viewport());
    QColor faint = this->palette().color(QPalette::Text);
    faint.setAlphaF(0.72F);
    painter.setPen(faint);
    const QRect area = this->viewport()->rect().adjusted(24, 12, -24, -12);
    painter.drawText(area, static_cast<int>(Qt::AlignCenter) | Qt::TextWordWrap, _emptyText);
  }

 private:
  bool isWithoutRows() const { return !this->model() || this->model()->rowCount() == 0; }

  void describe() {
    const QString& words = isWithoutRows() ? _emptyText : _remark;
    if (words != this->accessibleDescription()) this->setAccessibleDescription(words);
  }

  QString _emptyText;
  QString _remark;
};

using EmptyTextList = EmptyTextView<QListView>;
using EmptyTextTable = EmptyTextView<QTreeView>;

}  // namespace zpk
