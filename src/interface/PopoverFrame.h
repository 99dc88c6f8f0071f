#pragma once

#include <QPointer>
#include <QWidget>
#include <functional>

class QPainterPath;

namespace zpk {

// A small window that hangs on a control by an arrow and shows one widget.
//
// Comes up above its control, or below it where there is no room. It goes with Esc, with a click beside it, and
// with whatever takes its control from under it: the control's window moves, changes its size or goes, or the
// control cannot be used any more. A click on the control takes it down too and is not the control's then, so that
// the control can put it up and take it down.
class PopoverFrame final : public QWidget {
 public:
  // Over `window`, which owns it.
  PopoverFrame(QWidget& window, QWidget& contents);

  void popUp(QWidget& anchor);
  // Called when it has gone, however it went.
  void setClosed(std::function<void()> closed) { _closed = std::move(closed); }
  // Whether it hangs from its control rather than standing on it.
  bool isBelow() const { return _below; }

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void hideEvent(QHideEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  void place();
  QRect anchorOnScreen() const;
  QPainterPath outline() const;

  QPointer<QWidget> _anchor;
  std::function<void()> _closed;
  bool _below = false;
  int _tip = 0;  // where the arrow's tip is, from the left
};

}  // namespace zpk
