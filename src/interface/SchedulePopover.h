#pragma once

#include <memory>

#include "app/delegate/AppOutlets.h"
#include "interface/PopUpTitles.h"
#include "interface/PopoverFrame.h"
#include "interface/ScheduleEditor.h"

namespace zpk {

// The popover of the schedule editor, whose delegate is the editor's controller. Its window is made when it first
// comes up, over the window of the control that it is to hang on, which owns it.
class SchedulePopover final : public AnchoredPopover {
 public:
  // What is handed in outlives the popover.
  SchedulePopover(ZPKSchedulerViewController& controller, const Localization& localization,
                  const TimeZone& timeZone);
  ~SchedulePopover() override;

  PopUpTitles& dayOfMonthPopUpButton() { return _daysOfMonth; }

  bool isShown() const override;
  void performClose() override;
  // `view`: a control of the toolkit.
  void showRelativeTo(const View& view) override;

 private:
  void make(QWidget& window);

  ZPKSchedulerViewController& _controller;
  const Localization& _localization;
  const TimeZone& _timeZone;
  PopUpTitles _daysOfMonth;
  QPointer<PopoverFrame> _frame;
  ScheduleEditor* _editor = nullptr;  // in the frame
};

}  // namespace zpk
