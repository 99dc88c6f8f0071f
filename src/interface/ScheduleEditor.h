#pragma once

#include <QWidget>

#include "base/Localization.h"
#include "interface/Binding.h"
#include "schedule/ZPKSchedulerViewController.h"
#include "schedule/ZPKUTCTimeTransformer.h"

class QComboBox;
class QFormLayout;
class QHBoxLayout;
class QLabel;
class QPushButton;
class QStackedWidget;
class QTimeEdit;

namespace zpk {

class PopUpTitles;

// The contents of the schedule's popover: how often, on which day, at what time. Every choice goes to the
// controller at once and is kept by Save alone; Return saves too.
class ScheduleEditor final : public QWidget {
 public:
  struct Surroundings {
    const Localization& localization;
    const TimeZone& timeZone;  // of the time picker: the one that the toolkit shows
    PopUpTitles& daysOfMonth;
  };

  ScheduleEditor(ZPKSchedulerViewController& controller, const Surroundings& surroundings);

  QPushButton& cancelButton() const { return *_cancel; }
  // Ready for a new edit, with the first control in focus.
  void begin();

 protected:
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void fillLists();
  void layOut();
  void addPage(QWidget* control);
  QHBoxLayout* buttons();
  void connectControls();
  void bindControls();
  void showKind();
  void showNote();
  void showTime();
  void takeTime();
  void save();

  ZPKSchedulerViewController& _controller;
  const Localization& _localization;
  PopUpTitles& _daysOfMonth;
  ZPKUTCTimeTransformer _timeTransformer;
  QComboBox* _kind;
  QStackedWidget* _parameters;
  QComboBox* _weekday;
  QComboBox* _day;
  QTimeEdit* _time;
  QLabel* _note;
  QPushButton* _cancel;
  QPushButton* _save;
  Bindings _bindings;
};

}  // namespace zpk
