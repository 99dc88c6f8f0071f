#include "interface/MainMenu.h"

#include <QMenu>
#include <QMenuBar>
#include <initializer_list>

#include "interface/StaticTexts.h"
#include "interface/WindowActions.h"

namespace zpk {
namespace {

// Null stands for a separator.
void addMenu(QMenuBar& bar, const QString& title, std::initializer_list<QAction*> actions) {
  QMenu* menu = bar.addMenu(title);
  // An action that cannot be used says why here too.
  menu->setToolTipsVisible(true);
  for (QAction* action : actions) {
    if (action) {
      menu->addAction(action);
    } else {
      menu->addSeparator();
    }
  }
}

}  // namespace

void fillMainMenu(QMenuBar& bar, const WindowActions& actions, const Localization& localization) {
  const WindowActions& a = actions;
  addMenu(bar, localizedText(localization, "&ZPK"),
          {a.about, a.checkForUpdates, nullptr, a.uninstall, nullptr, a.quit});
  addMenu(bar, localizedText(localization, "&File"),
          {a.chooseDisk, a.chooseLocation, nullptr, a.backUpNow, a.stop, nullptr, a.autoProtection,
           a.changeSchedule, nullptr, a.close});
  addMenu(bar, localizedText(localization, "&Edit"), {a.copy, a.selectAll});
  addMenu(bar, localizedText(localization, "Backup Po&int"),
          {a.restore, a.merge, a.pin, nullptr, a.open, a.closePoints});
  addMenu(bar, localizedText(localization, "&View"), {a.showPoints, a.showLog, nullptr, a.fullScreen});
  addMenu(bar, localizedText(localization, "&Window"), {a.minimize, a.zoom, nullptr, a.raise});
  addMenu(bar, localizedText(localization, "&Help"), {a.shortcuts, a.collectLogs, nullptr, a.about});
}

}  // namespace zpk
