#pragma once

#include <QPropertyAnimation>
#include <QWidget>

namespace zpk {

// Lets a part of a sheet appear and go by growing and shrinking, so that what stands around it is seen to move. The
// style says for how long; a style without animations shows the end at once. Owned by the sheet, as its view is.
class Unfolding {
 public:
  explicit Unfolding(QWidget& view);

  void setUnfolded(bool unfolded);

 private:
  void finish();

  QWidget& _view;
  QPropertyAnimation _height;
  bool _unfolded = false;
};

}  // namespace zpk
