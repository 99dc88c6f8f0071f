#pragma once

#include <QLabel>
#include <QTextLayout>

#include "app/delegate/AppOutlets.h"

namespace zpk {

// One line of text of which parts are bold. To everything but the eye it is a label of that text.
class AttributedLabel final : public QLabel, public AttributedTextField {
 public:
  explicit AttributedLabel(QWidget* parent = nullptr);

  void setAttributedText(const std::vector<TextRun>& runs) override;
  QSize sizeHint() const override { return _size; }
  QSize minimumSizeHint() const override { return _size; }

 protected:
  void changeEvent(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  void layOut();

  QList<QTextLayout::FormatRange> _formats;
  QTextLayout _line;
  QSize _size;
};

}  // namespace zpk
