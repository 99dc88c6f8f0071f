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

class BackupPointsModel;
class SheetHost;

// The main window: what is protected, where to, since when, and what is happening now.
//
// Holds no state: its controls are bound to keys of the controller and send their actions to it. Sets itself as the
// controller's outlets for as long as it lives. The helper need not be there, and nothing is asked of it here, so
// that the window can be painted before the program is launched any further.
class MainWindow final : public QMainWindow {
 public:
  // What the window needs beside its controller. All of it outlives the window.
  struct Surroundings {
    const Localization& localization;
    const DateFormatter& dates;
    const ImageLoader& images;
  };

  MainWindow(std::shared_ptr<ZPKUIDaemonController> controller, const Surroundings& surroundings);
  ~MainWindow() override;

 protected:
  void changeEvent(QEvent* event) override;

 private:
  void setUpLooks();
  void setUpPictures();
  void connectActions();
  void bindPlaces();
  void bindOperation();
  void bindHistory();
  void bindLink();
  void showSource();
  void showDestination();
  void showReadiness();
  void showProgress();
  void sendSelection();

  std::shared_ptr<ZPKUIDaemonController> _controller;
  const Localization& _localization;
  std::unique_ptr<Ui::MainWindow> _ui;
  std::unique_ptr<BackupPointsModel> _points;
  std::unique_ptr<SheetHost> _sheets;
  Bindings _bindings;
};

}  // namespace zpk
