#pragma once

#include <QPointer>
#include <QString>
#include <functional>
#include <string>

#include "app/delegate/AppOutlets.h"
#include "base/Localization.h"
#include "interface/Binding.h"
#include "mount/AttachedDrives.h"

class QWidget;

namespace zpk {

class MessageSheet;
class OpenPointsQuestion;

// What the window says about backup points that are open: the question before the program quits, the notice that
// one is no longer there, and the one that not all of it can be shown. They stand beside the sheets of the
// controller, whose records come and go meanwhile.
class OpenPointsSheets final : public QuitQuestion {
 public:
  // What people call the backup point of an image; empty when nobody knows it.
  using PointName = std::function<QString(const std::string& imagePath)>;

  // All of it outlives this object; the window need not be complete.
  OpenPointsSheets(QWidget& window, AttachedDrives& drives, const Localization& localization, PointName pointName);
  ~OpenPointsSheets() override;

  bool isDue() const override { return !_drives.drives().empty(); }
  void ask(std::function<void(bool quits)> answered) override;

 private:
  void answer(bool quits);
  void closeAndQuit();
  void showLost();
  void showPartial();
  QString lostText(const std::vector<AttachedDrive>& lost) const;

  QWidget& _window;
  AttachedDrives& _drives;
  const Localization& _localization;
  PointName _pointName;
  std::function<void(bool)> _answered;
  QPointer<OpenPointsQuestion> _question;
  QPointer<MessageSheet> _notice;
  QPointer<MessageSheet> _partialNotice;
  Bindings _bindings;
};

}  // namespace zpk
