#include "interface/Unfolding.h"

#include <QStyle>
#include <algorithm>

namespace zpk {
namespace {

constexpr int kLongest = 150;  // ms

}  // namespace

Unfolding::Unfolding(QWidget& view) : _view(view), _height(&view, "maximumHeight") {
  _height.setEasingCurve(QEasingCurve::InOutQuad);
  QObject::connect(&_height, &QPropertyAnimation::finished, &_height, [this] { finish(); });
  _view.setVisible(false);
}

void Unfolding::setUnfolded(bool unfolded) {
  if (unfolded == _unfolded) return;
  _unfolded = unfolded;
  _height.stop();
  const int duration = _view.style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, &_view);
  if (duration <= 0 || !_view.window()->isVisible()) return finish();
  const int now = _view.isVisible() ? _view.height() : 0;
  _height.setDuration(std::min(duration, kLongest));
  _height.setStartValue(now);
  _height.setEndValue(unfolded ? _view.sizeHint().height() : 0);
  _view.setMaximumHeight(now);
  _view.setVisible(true);
  _height.start();
}

void Unfolding::finish() {
  _view.setVisible(_unfolded);
  _view.setMaximumHeight(QWIDGETSIZE_MAX);
}

}  // namespace zpk
