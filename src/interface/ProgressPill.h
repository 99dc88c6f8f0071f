#pragma once

#include <QProgressBar>

namespace zpk {

// A progress bar in the looks of the bars of used space, which can be made out on every background.
class ProgressPill final : public QProgressBar {
 public:
  using QProgressBar::QProgressBar;

 protected:
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace zpk
