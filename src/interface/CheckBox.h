#pragma once

#include <QCheckBox>

namespace zpk {

// A check box whose square can be told from a dark window: the common style draws its edge darker than the window,
// which is nothing to be seen when that is nearly black.
class CheckBox final : public QCheckBox {
 public:
  using QCheckBox::QCheckBox;

 protected:
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace zpk
