#pragma once

#include <QEvent>
#include <QLayout>
#include <QWidget>

namespace zpk {

// A widget that is never lower than what it shows needs at its width. A window asks its layout for a smallest
// height that holds at every width, so texts that wrap would take what they need from their neighbours.
class FittingWidget final : public QWidget {
 public:
  using QWidget::QWidget;

 protected:
  bool event(QEvent* event) override {
    const bool handled = QWidget::event(event);
    if (event->type() == QEvent::LayoutRequest || event->type() == QEvent::Resize) fit();
    return handled;
  }

 private:
  void fit() {
    if (!layout()) return;
    const bool dependsOnWidth = layout()->hasHeightForWidth();
    setMinimumHeight(dependsOnWidth ? layout()->totalMinimumHeightForWidth(width()) : 0);
  }
};

}  // namespace zpk
