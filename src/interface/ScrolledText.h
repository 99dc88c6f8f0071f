#pragma once

#include <QScrollArea>

class QLabel;

namespace zpk {

// A paragraph of plain text of a fixed width that is as high as it needs to be, up to some lines; a longer one is
// scrolled. It can be marked and copied.
class ScrolledText final : public QScrollArea {
 public:
  explicit ScrolledText(int width, QWidget* parent = nullptr);

  void setText(const QString& text);
  QLabel& label() const { return *_label; }

 protected:
  void changeEvent(QEvent* event) override;

 private:
  void fit();

  QLabel* _label;
};

}  // namespace zpk
