#pragma once

class QAction;
class QPushButton;

namespace zpk {

// Makes the button one of the action's faces: it shows the action's text, picture and state and triggers it. What
// keeps the action from being used (its status tip) is the button's tool tip and its description for assistive
// technology. Both live as long as the window.
void followAction(QPushButton& button, QAction& action);

}  // namespace zpk
