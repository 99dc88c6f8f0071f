#include "tools/zpkstatusbar/StatusBarItem.h"

#include <QObject>
#include <utility>

#include "interface/DisplayText.h"
#include "interface/StaticTexts.h"
#include "tools/zpkstatusbar/StatusBarIcons.h"

namespace zpk {
namespace {

// A menu is as wide as its widest line.
constexpr qsizetype kLongestLine = 80;

// As a menu takes it: shortened, and no letter of it a key mark.
QString menuLine(const QString& text) {
  QString line = text.size() > kLongestLine ? text.left(kLongestLine - 1) + QStringLiteral("…") : text;
  return line.replace(QLatin1Char('&'), QStringLiteral("&&"));
}

// As a tool tip takes it, which would take "<b>" for markup.
QString toolTipText(QString text) {
  return text.replace(QLatin1Char('<'), QChar(0x2039));
}

}  // namespace

StatusBarItem::StatusBarItem(StatusBarController& controller, const Localization& localization, Actions actions)
    : _controller(controller) {
  _state = _menu.addAction(QString());
  _state->setObjectName(QStringLiteral("state"));
  _state->setEnabled(false);
  _menu.addSeparator();
  const auto add = [&](const char* name, const QString& title, std::function<void()> act) {
    QAction* action = _menu.addAction(title);
    action->setObjectName(QLatin1String(name));
    QObject::connect(action, &QAction::triggered, action, std::move(act));
    return action;
  };
  _backUp = add("backUp", localizedText(localization, "&Back Up Now"), [this] { _controller.backUp(); });
  _stop = add("stop", localizedText(localization, "&Stop"), [this] { _controller.stop(); });
  add("open", localizedText(localization, "&Open ZPK"), actions.openProgram);
  _menu.addSeparator();
  add("quit", localizedText(localization, "&Quit"), std::move(actions.quit));
  _icon.setContextMenu(&_menu);
  // Where the click is not the menu's already: that is for the desktop to say.
  QObject::connect(&_icon, &QSystemTrayIcon::activated, &_menu,
                   [open = std::move(actions.openProgram)](QSystemTrayIcon::ActivationReason reason) {
                     if (reason == QSystemTrayIcon::Trigger) open();
                   });
  _observation = _controller.observe("state", [this] { update(); });
  _icon.setIcon(statusBarIcon(_shownIcon, _shownPercent));
  update();
}

void StatusBarItem::showMessage(const std::string& title, const std::string& text) {
  _icon.showMessage(displayText(title), displayText(text), QSystemTrayIcon::Warning);
}

void StatusBarItem::update() {
  const StatusBarState& state = _controller.state();
  // A backup brings four states a second, most of them with the same picture.
  if (state.icon != _shownIcon || state.percent != _shownPercent) {
    _shownIcon = state.icon;
    _shownPercent = state.percent;
    _icon.setIcon(statusBarIcon(_shownIcon, _shownPercent));
  }
  _icon.setToolTip(QStringLiteral("ZPK\n") + toolTipText(state.text));
  _state->setText(menuLine(state.text));
  const bool runs = state.icon == StatusBarIcon::running;
  _backUp->setVisible(!runs);
  _backUp->setEnabled(state.canBackUp);
  _stop->setVisible(runs);
  _stop->setEnabled(state.canStop);
}

}  // namespace zpk
