#include "interface/SizeSlider.h"

#include <QAccessibleWidget>
#include <QSignalBlocker>
#include <algorithm>
#include <cmath>

#include "app/presentation/ByteSizeString.h"

namespace zpk {
namespace {

class AccessibleSizeSlider final : public QAccessibleWidget, private QAccessibleValueInterface {
 public:
  explicit AccessibleSizeSlider(SizeSlider& slider)
      : QAccessibleWidget(&slider, QAccessible::Slider), _slider(slider) {}

  void* interface_cast(QAccessible::InterfaceType type) override {
    if (type == QAccessible::ValueInterface) return static_cast<QAccessibleValueInterface*>(this);
    return QAccessibleWidget::interface_cast(type);
  }
  QString text(QAccessible::Text kind) const override {
    if (kind == QAccessible::Value) return QString::fromStdString(byteSizeString(_slider.chosenSize()));
    return QAccessibleWidget::text(kind);
  }

 private:
  // Screen readers say the number as it is: in GB, and not in bytes.
  QVariant currentValue() const override { return gigabytes(_slider.chosenSize()); }
  void setCurrentValue(const QVariant& value) override {
    const double wanted = std::clamp(value.toDouble(), gigabytesAt(0), gigabytesAt(_slider.sizes().last()));
    int nearest = 0;
    for (int step = 1; step <= _slider.sizes().last(); ++step) {
      if (std::abs(gigabytesAt(step) - wanted) < std::abs(gigabytesAt(nearest) - wanted)) nearest = step;
    }
    _slider.setValue(nearest);
  }
  QVariant minimumValue() const override { return gigabytesAt(0); }
  QVariant maximumValue() const override { return gigabytesAt(_slider.sizes().last()); }
  QVariant minimumStepSize() const override { return gigabytes(_slider.sizes().unit()); }

  double gigabytesAt(int step) const { return gigabytes(_slider.sizes().sizeAt(step)); }
  static double gigabytes(std::uint64_t size) { return static_cast<double>(size) / 1e9; }

  SizeSlider& _slider;
};

QAccessibleInterface* accessibleSizeSlider(const QString& /*className*/, QObject* object) {
  auto* slider = qobject_cast<SizeSlider*>(object);
  return slider ? new AccessibleSizeSlider(*slider) : nullptr;
}

}  // namespace

SizeSlider::SizeSlider(QWidget* parent) : QSlider(parent) {
  // Installing it again changes nothing.
  QAccessible::installFactory(accessibleSizeSlider);
  connect(this, &QSlider::valueChanged, this, [this] { emit sizeChosen(chosenSize()); });
}

void SizeSlider::setSizes(const SizeSteps& sizes) {
  const QSignalBlocker quiet(this);
  _sizes = sizes;
  setRange(0, sizes.last());
  setPageStep(sizes.page());
}

void SizeSlider::setChosenSize(std::uint64_t size) {
  const QSignalBlocker quiet(this);
  setValue(_sizes.stepNearest(size));
}

}  // namespace zpk
