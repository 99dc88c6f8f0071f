#pragma once

#include <QDialog>

#include "base/Localization.h"

namespace zpk {

// What the program is, and which version.
class AboutDialog final : public QDialog {
 public:
  AboutDialog(const Localization& localization, QWidget& window);
};

}  // namespace zpk
