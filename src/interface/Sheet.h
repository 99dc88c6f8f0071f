#pragma once

#include <QDialog>
#include <functional>

namespace zpk {

// A dialog over the main window that closes nothing by itself: its buttons send actions, and whoever put it up
// takes it down. Esc and the title bar's close button are Cancel; a sheet without a cancel action ignores them.
class Sheet : public QDialog {
 public:
  explicit Sheet(QWidget& window);

  void setCancelAction(std::function<void()> action) { _cancelAction = std::move(action); }

  // Called once the sheet is on the screen; a sheet with something to bring up to date then overrides it.
  virtual void shown() {}

  void accept() override {}
  void reject() override;

 private:
  std::function<void()> _cancelAction;
};

}  // namespace zpk
