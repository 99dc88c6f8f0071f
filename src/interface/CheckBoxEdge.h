#pragma once

class QPainter;
class QPalette;
class QRect;
class QStyle;

namespace zpk {

// Gives a check box's square an edge that can be told from a dark background: the common style draws it darker than
// the window, which is nothing to be seen when that is nearly black. Elsewhere it draws nothing.
void paintCheckBoxEdge(QPainter& painter, const QStyle& style, const QPalette& palette, const QRect& square);

}  // namespace zpk
