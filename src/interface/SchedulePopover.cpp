#include "interface/SchedulePopover.h"

#include <QPushButton>

#include "interface/StaticTexts.h"

namespace zpk {

SchedulePopover::SchedulePopover(ZPKSchedulerViewController& controller, const Localization& localization,
                                 const TimeZone& timeZone)
    : _controller(controller), _localization(localization), _timeZone(timeZone) {}

// Its controls look at what is gone with it.
SchedulePopover::~SchedulePopover() {
  delete _frame.data();
}

bool SchedulePopover::isShown() const {
  return _frame && _frame->isVisible();
}

void SchedulePopover::performClose() {
  if (isShown()) _frame->close();
}

void SchedulePopover::showRelativeTo(const View& view) {
  const auto* control = dynamic_cast<const QWidget*>(&view);
  if (!control || isShown()) return;
  // A view is handed round to be looked at; what hangs on it has to hear of its events too.
  auto& anchor = const_cast<QWidget&>(*control);
  if (!_frame) make(*anchor.window());
  _controller.popoverWillShow();
  _editor->begin();
  _frame->popUp(anchor);
}

void SchedulePopover::make(QWidget& window) {
  _editor = new ScheduleEditor(_controller, {_localization, _timeZone, _daysOfMonth});
  _frame = new PopoverFrame(window, *_editor);
  _frame->setObjectName(QStringLiteral("schedulePopover"));
  _frame->setAccessibleName(localizedText(_localization, "Schedule"));
  _frame->setClosed([this] { _controller.popoverDidClose(); });
  QObject::connect(&_editor->cancelButton(), &QPushButton::clicked, _frame, &QWidget::close);
}

}  // namespace zpk
