#pragma once

class QPainter;
class QRect;
class QStyle;
class QStyleOption;

namespace zpk {

// Gives a check box's square an edge that can be told from a dark background: the common style draws it darker than
// the window, which is nothing to be seen when that is nearly black. Elsewhere it draws nothing.
void paintCheckBoxEdge(QPainter& painter, const QStyle& style, const QStyleOption& option, const QRect& square);

}  // namespace zpk
