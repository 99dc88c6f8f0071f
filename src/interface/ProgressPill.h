#pragma once

#include <QProgressBar>

namespace zpk {

// A progress bar in the looks of the bars of used space, which can be made out on every background.
class ProgressPill final : public QProgressBar {
 public:
  using QProgressBar::QProgressBar;

  // As QProgressBar's, but painted with all else in the next turn of the event loop. That one paints at once, and
  // everything in the window that waits to be painted with it: a window that gets many records would be painted for
  // each of them.
  void setValue(int value);

 protected:
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace zpk
