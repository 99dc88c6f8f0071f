#pragma once

#include <QPushButton>

namespace zpk {

// The button of the one thing to do next: the style's own push button in the highlight colour.
class PrimaryButton final : public QPushButton {
 public:
  using QPushButton::QPushButton;

 protected:
  void initStyleOption(QStyleOptionButton* option) const override;
};

}  // namespace zpk
