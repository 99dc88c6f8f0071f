#pragma once

#include <QMainWindow>
#include <memory>

#include "base/DateFormatter.h"
#include "base/Image.h"
#include "base/Localization.h"
#include "interface/Binding.h"
#include "mainwindow/ZPKUIDaemonController.h"

namespace Ui {
class MainWindow;
}

namespace zpk {

class BackupPointsPane;
class OperationWatch;
class ProgressPane;
class SheetHost;
class WindowActions;

// The main window: what is protected, where to, since when, and what is happening now.
//
// Puts the cards, the panes and the menus together. Holds no state: its controls are bound to keys of the
// controller and send their actions to it. Sets itself as the controller's outlets for as long as it lives. The
// helper need not be there, and nothing is asked of it here, so that the window can be painted before the program
// is launched any further.
class MainWindow final : public QMainWindow {
 public:
  // What the window needs beside its controller. All of it outlives the window.
  struct Surroundings {
    const Localization& localization;
    const DateFormatter& dates;  // of backup points
    const DateFormatter& times;  // of the day
    const ImageLoader& images;
    OperationWatch& watch;
  };

  MainWindow(std::shared_ptr<ZPKUIDaemonController> controller, const Surroundings& surroundings);
  ~MainWindow() override;

 protected:
  void changeEvent(QEvent* event) override;

 private:
  void makePanes(const Surroundings& surroundings);
  void setUpLooks();
  void setUpPictures();
  void setUpTabOrder();
  void connectWindowActions();
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
  void comeForward();
  void showShortcuts();
  void showAbout();

  std::shared_ptr<ZPKUIDaemonController> _controller;
  const Localization& _localization;
  const DateFormatter& _dates;
  std::unique_ptr<Ui::MainWindow> _ui;
  std::unique_ptr<WindowActions> _actions;
  // Belong to the window's layouts.
  ProgressPane* _progress = nullptr;
  BackupPointsPane* _points = nullptr;
  bool _mainControlFocused = false;
  std::unique_ptr<SheetHost> _sheets;
  Bindings _bindings;
};

}  // namespace zpk
