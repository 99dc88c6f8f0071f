#pragma once

#include <QSlider>
#include <cstdint>

#include "choosers/SizeSteps.h"

namespace zpk {

// A slider over sizes, which are larger than a slider's own numbers: it goes from one of the range's steps to the
// next. To assistive technology its value is the size, and not the number of a step. Sizes are bytes.
//
//   slider->setSizes(SizeSteps(least, most));
//   connect(slider, &SizeSlider::sizeChosen, [&](quint64 size) { chooser.setSliderValue(size); });
class SizeSlider final : public QSlider {
  Q_OBJECT

 public:
  explicit SizeSlider(QWidget* parent = nullptr);

  const SizeSteps& sizes() const { return _sizes; }
  void setSizes(const SizeSteps& sizes);

  std::uint64_t chosenSize() const { return _sizes.sizeAt(value()); }
  // Goes to the step nearest to it.
  void setChosenSize(std::uint64_t size);

 signals:
  // The user has moved the slider; setSizes and setChosenSize say nothing.
  void sizeChosen(quint64 size);

 private:
  SizeSteps _sizes{0, 0};
};

}  // namespace zpk
