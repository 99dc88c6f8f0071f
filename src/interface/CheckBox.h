#pragma once

#include <QCheckBox>

namespace zpk {

// A check box whose square can be told from a dark window, see CheckBoxEdge.h.
class CheckBox final : public QCheckBox {
 public:
  using QCheckBox::QCheckBox;

 protected:
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace zpk
