#pragma once

#include <QWidget>
#include <memory>

#include "base/DateFormatter.h"
#include "base/Localization.h"
#include "interface/Binding.h"
#include "mainwindow/OperationWatch.h"
#include "mainwindow/ZPKUIDaemonController.h"

class QPushButton;

namespace Ui {
class ProgressPane;
}

namespace zpk {

class WindowActions;

// The running operation: what goes where, how far it is, how long it takes, Stop, and since when it stands still.
class ProgressPane final : public QWidget {
 public:
  struct Dates {
    const DateFormatter& ofPoints;
    const DateFormatter& ofTheDay;  // The time alone.
  };

  ProgressPane(ZPKUIDaemonController& controller, OperationWatch& watch, const WindowActions& actions,
               const Localization& localization, const Dates& dates, QWidget* parent = nullptr);
  ~ProgressPane() override;

  QPushButton* stopButton() const;
  QPushButton* showLogButton() const;

 protected:
  void changeEvent(QEvent* event) override;

 private:
  void setUpPictures();
  void showProgress();
  void showStandstill();

  ZPKUIDaemonController& _controller;
  OperationWatch& _watch;
  const Localization& _localization;
  Dates _dates;
  std::unique_ptr<Ui::ProgressPane> _ui;
  Bindings _bindings;
};

}  // namespace zpk
