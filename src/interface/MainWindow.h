#pragma once

#include <QMainWindow>
#include <functional>
#include <memory>

#include "app/delegate/ZPKAppDelegate.h"
#include "base/DateFormatter.h"
#include "base/Image.h"
#include "base/Localization.h"
#include "base/TimeZone.h"
#include "interface/Binding.h"
#include "interface/InstalledParts.h"
#include "mainwindow/ZPKUIDaemonController.h"
#include "mount/AttachedDrives.h"

namespace Ui {
class MainWindow;
}

namespace zpk {

class AutoProtectionRow;
class BackupPointsPane;
class CollectLogsOutlet;
class OpenPointsSheets;
class OperationWatch;
class ProgressPane;
class SchedulePopover;
class SheetHost;
class WindowActions;

// The main window: what is protected, where to, since when, and what is happening now.
//
// Puts the cards, the panes and the menus together. Holds no state: its controls are bound to keys of the
// controllers and send their actions to them. Sets itself as the outlets of the controller, of the application's
// delegate and of the schedule editor for as long as it lives. The helper need not be there, and nothing is asked
// of it here, so that the window can be painted before the program is launched any further.
class MainWindow final : public QMainWindow {
 public:
  // What the window needs beside its controller. All of it outlives the window.
  struct Surroundings {
    const Localization& localization;
    const DateFormatter& dates;  // of backup points
    const DateFormatter& times;  // of the day
    const ImageLoader& images;
    OperationWatch& watch;
    ZPKAppDelegate& delegate;
    AttachedDrives& drives;
    const TimeZone& timeZone;  // the one in which the toolkit shows times
    InstalledParts installed;
    std::function<void()> terminate;  // asks the application to quit
  };

  MainWindow(std::shared_ptr<ZPKUIDaemonController> controller, const Surroundings& surroundings);
  ~MainWindow() override;

  // Puts it in front of the other windows, also when it was minimised or closed.
  void comeForward();

 protected:
  void changeEvent(QEvent* event) override;
  void closeEvent(QCloseEvent* event) override;

 private:
  void makePanes(const Surroundings& surroundings);
  void setUpLooks();
  void setUpPictures();
  void setUpTabOrder();
  void connectWindowActions();
  void connectSchedule();
  void setOutlets(bool alive);
  void bindPlaces();
  void bindOperation();
  void bindLog();
  void bindLink();
  void showSource();
  void showDestination();
  void showReadiness();
  void showLastError();
  void showRunning();
  bool isMainControlFocused() const;
  void showPage(QWidget* page);
  void showPageActions();
  void copySelection();
  void selectAll();
  void toggleZoom();
  void toggleFullScreen();
  void showShortcuts();
  void showAbout();

  std::shared_ptr<ZPKUIDaemonController> _controller;
  const Localization& _localization;
  const DateFormatter& _dates;
  ZPKAppDelegate& _delegate;
  const std::function<void()> _terminate;
  std::unique_ptr<Ui::MainWindow> _ui;
  std::unique_ptr<WindowActions> _actions;
  // Belong to the window's layouts.
  ProgressPane* _progress = nullptr;
  AutoProtectionRow* _autoProtection = nullptr;
  BackupPointsPane* _points = nullptr;
  bool _mainControlFocused = false;
  std::unique_ptr<SheetHost> _sheets;
  std::unique_ptr<SchedulePopover> _schedulePopover;
  std::unique_ptr<CollectLogsOutlet> _collectLogs;
  std::unique_ptr<OpenPointsSheets> _openPoints;
  Bindings _bindings;
};

}  // namespace zpk
