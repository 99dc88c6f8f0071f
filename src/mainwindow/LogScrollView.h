#pragma once

namespace zpk {

// The scroll view of the log, as far as scrolling it to its end needs it; the interface implements it. Lengths are
// in one unit of the view's own choosing.
class LogScrollView {
 public:
  virtual ~LogScrollView() = default;

  // Whether the document's y grows downwards.
  virtual bool documentViewIsFlipped() const = 0;
  virtual double documentViewFrameY() const = 0;
  virtual double documentViewFrameHeight() const = 0;
  // Height of the part that is visible.
  virtual double contentViewBoundsHeight() const = 0;
  virtual void scrollDocumentViewToPoint(double x, double y) = 0;
};

}  // namespace zpk
