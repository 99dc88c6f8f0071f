#include "interface/Sheet.h"

namespace zpk {

Sheet::Sheet(QWidget& window) : QDialog(&window, Qt::Sheet) {
  setWindowModality(Qt::WindowModal);
}

void Sheet::reject() {
  // Called through a copy: the action takes the sheet down.
  if (const auto action = _cancelAction) action();
}

}  // namespace zpk
