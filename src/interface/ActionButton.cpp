#include "interface/ActionButton.h"

#include <QAction>
#include <QPushButton>

namespace zpk {

void followAction(QPushButton& button, QAction& action) {
  const auto copy = [&button, &action] {
    button.setText(action.text());
    // From the right, the style tears an icon and its words apart.
    button.setIcon(button.isRightToLeft() ? QIcon() : action.icon());
    button.setEnabled(action.isEnabled());
    button.setToolTip(action.statusTip());
    button.setAccessibleDescription(action.statusTip());
  };
  copy();
  QObject::connect(&action, &QAction::changed, &button, copy);
  QObject::connect(&button, &QPushButton::clicked, &action, &QAction::trigger);
}

}  // namespace zpk
