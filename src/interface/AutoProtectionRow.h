#pragma once

#include <QPushButton>

#include "app/delegate/AppOutlets.h"
#include "base/Localization.h"
#include "interface/Binding.h"
#include "interface/Panel.h"
#include "schedule/ZPKSchedulerViewController.h"

class QLabel;

namespace zpk {

class AttributedLabel;
class ElidedLabel;

// A push button that something can hang on.
class ViewButton final : public QPushButton, public View {
 public:
  using QPushButton::QPushButton;
};

// A push button whose title is set from outside.
class TitledPushButton final : public QPushButton, public TitledButton {
 public:
  using QPushButton::QPushButton;
  void setTitle(const std::string& title) override { setText(QString::fromStdString(title)); }
};

// The row of the automatic backup: whether it is on, when it runs, and the buttons that change both. What it says
// before the launch is that it is off.
class AutoProtectionRow final : public Panel {
 public:
  AutoProtectionRow(ZPKSchedulerViewController& scheduler, const Localization& localization,
                    QWidget* parent = nullptr);

  AttributedLabel& textField() const { return *_state; }
  ViewButton& changeButton() const { return *_change; }
  TitledPushButton& toggleButton() const { return *_toggle; }

 protected:
  void changeEvent(QEvent* event) override;

 private:
  void layOut();
  void setUpPicture();
  void showSummary();

  ZPKSchedulerViewController& _scheduler;
  const Localization& _localization;
  QLabel* _picture;
  AttributedLabel* _state;
  ElidedLabel* _summary;
  ViewButton* _change;
  TitledPushButton* _toggle;
  Bindings _bindings;
};

}  // namespace zpk
