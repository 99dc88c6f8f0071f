#pragma once

#include <QPointer>
#include <QString>
#include <functional>

#include "app/delegate/AppOutlets.h"
#include "base/Localization.h"
#include "interface/Binding.h"
#include "mount/AttachedDrives.h"

class QWidget;

namespace zpk {

class MessageSheet;
class OpenPointsQuestion;

// What the window says about backup points that are open: the question before the program quits, and the notice
// that one is no longer there. Both stand beside the sheets of the controller, whose records come and go meanwhile.
class OpenPointsSheets final : public QuitQuestion {
 public:
  // All of it outlives this object; the window need not be complete.
  OpenPointsSheets(QWidget& window, AttachedDrives& drives, const Localization& localization);
  ~OpenPointsSheets() override;

  bool isDue() const override { return !_drives.drives().empty(); }
  void ask(std::function<void(bool quits)> answered) override;

 private:
  void answer(bool quits);
  void closeAndQuit();
  void showLost();
  QString lostText(const std::vector<AttachedDrive>& lost) const;

  QWidget& _window;
  AttachedDrives& _drives;
  const Localization& _localization;
  std::function<void(bool)> _answered;
  QPointer<OpenPointsQuestion> _question;
  QPointer<MessageSheet> _notice;
  Bindings _bindings;
};

}  // namespace zpk
