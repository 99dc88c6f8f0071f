#pragma once

#include <QPushButton>

namespace zpk {

// The button of the one thing to do next: the style's own push button in the highlight colour. Not prominent, it is
// a push button like any other.
class PrimaryButton final : public QPushButton {
 public:
  using QPushButton::QPushButton;

  void setProminent(bool prominent);

  QSize sizeHint() const override;

 protected:
  void initStyleOption(QStyleOptionButton* option) const override;

 private:
  bool _prominent = true;
};

}  // namespace zpk
