#pragma once

#include <QDialog>

#include "app/delegate/ZPKAppDelegate.h"
#include "base/Localization.h"
#include "interface/Binding.h"

class QLabel;
class QProgressBar;
class QPushButton;
class QVBoxLayout;

namespace zpk {

class PrimaryButton;

// The window from which logs are collected: what is collected and for what, the button that begins it, and that it
// goes on. While it may not be closed, neither its button nor the title bar's nor Esc close it.
class CollectLogsDialog final : public QDialog {
 public:
  CollectLogsDialog(ZPKAppDelegate& delegate, const Localization& localization, QWidget& window);

  void setClosable(bool closable);
  // Whether the program ends with the collection that is running.
  void setQuitPending(bool pending);
  // Takes it down even if the user may not close it.
  void takeDown();

  void reject() override;

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  void layOut();
  QVBoxLayout* texts();
  void showCollecting();

  ZPKAppDelegate& _delegate;
  const Localization& _localization;
  QLabel* _progressText;
  QProgressBar* _progress;
  QPushButton* _close;
  PrimaryButton* _collect;
  bool _closable = true;
  bool _quitPending = false;
  Bindings _bindings;
};

}  // namespace zpk
