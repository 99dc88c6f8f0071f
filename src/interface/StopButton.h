#pragma once

#include <QMouseEvent>
#include <QPushButton>

namespace zpk {

// Stops the running operation. It comes up where the button was that began it, so that the second click of a
// double-click there would end what the first one began: a double-click's second half is not for it.
class StopButton final : public QPushButton {
 public:
  using QPushButton::QPushButton;

 protected:
  void mouseDoubleClickEvent(QMouseEvent* event) override { event->accept(); }
};

}  // namespace zpk
