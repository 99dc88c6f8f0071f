#pragma once

class QColor;
class QRect;
class QWidget;

namespace zpk {

inline constexpr int kPillHeight = 8;

// Paints a rounded bar across the middle of `area`, filled with `colour` up to `share` (0 to 1) from where the
// language's lines begin.
void paintPill(QWidget& widget, const QRect& area, double share, const QColor& colour);

}  // namespace zpk
