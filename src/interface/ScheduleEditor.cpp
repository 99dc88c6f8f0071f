#include "interface/ScheduleEditor.h"

#include <QComboBox>
#include <QDateTime>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLocale>
#include <QRegularExpression>
#include <QSignalBlocker>
#include <QStackedWidget>
#include <QTimeEdit>
#include <QVBoxLayout>
#include <cmath>

#include "interface/PopUpTitles.h"
#include "interface/PrimaryButton.h"
#include "interface/StaticTexts.h"

namespace zpk {
namespace {

// Days of the month, from 0, that not every month has.
constexpr std::uint64_t kFirstRareDay = 28;
constexpr double kMillisecondsPerSecond = 1000;

// Hours and minutes as the locale writes them: a locale's short form may show seconds, which no job knows.
QString hoursAndMinutes(const QLocale& locale) {
  static const QRegularExpression seconds(QStringLiteral("[:.]ss?"));
  return locale.timeFormat(QLocale::ShortFormat).remove(seconds);
}

void choose(QComboBox& list, std::uint64_t index) {
  const auto count = static_cast<std::uint64_t>(list.count());
  list.setCurrentIndex(index < count ? static_cast<int>(index) : -1);
}

}  // namespace

ScheduleEditor::ScheduleEditor(ZPKSchedulerViewController& controller, const Surroundings& surroundings)
    : _controller(controller),
      _localization(surroundings.localization),
      _daysOfMonth(surroundings.daysOfMonth),
      _timeTransformer(surroundings.timeZone),
      _kind(new QComboBox(this)),
      _parameters(new QStackedWidget(this)),
      _weekday(new QComboBox),
      _day(new QComboBox),
      _time(new QTimeEdit(this)),
      _note(new QLabel(this)),
      _cancel(new QPushButton(this)),
      _save(new PrimaryButton(this)) {
  setObjectName(QStringLiteral("scheduleEditor"));
  fillLists();
  layOut();
  connectControls();
  bindControls();
}

void ScheduleEditor::fillLists() {
  const Localization& l = _localization;
  _kind->setObjectName(QStringLiteral("scheduleTypePopUpButton"));
  _kind->setAccessibleName(localizedText(l, "How often to back up"));
  _kind->addItems({localizedText(l, "Every day"), localizedText(l, "Every week"), localizedText(l, "Every month")});
  _weekday->setObjectName(QStringLiteral("dayOfWeekPopUpButton"));
  _weekday->setAccessibleName(localizedText(l, "Day of the week"));
  for (const std::string& name : _controller.shiftedWeekdaySymbols()) {
    _weekday->addItem(QString::fromStdString(name));
  }
  _day->setObjectName(QStringLiteral("dayOfMonthPopUpButton"));
  _day->setAccessibleName(localizedText(l, "Day of the month"));
  _day->setModel(&_daysOfMonth);
  constexpr int kShownDays = 16;
  _day->setMaxVisibleItems(kShownDays);
  _time->setObjectName(QStringLiteral("timeOfDayPicker"));
  _time->setAccessibleName(localizedText(l, "Time of day"));
  _time->setDisplayFormat(hoursAndMinutes(_time->locale()));
  _time->setWrapping(true);
  // The hour comes first in every direction of writing.
  _time->setLayoutDirection(Qt::LeftToRight);
}

void ScheduleEditor::layOut() {
  const Localization& l = _localization;
  auto* title = new QLabel(localizedText(l, "Schedule"), this);
  QFont bold = title->font();
  bold.setWeight(QFont::DemiBold);
  title->setFont(bold);
  _parameters->setObjectName(QStringLiteral("parametersTabView"));
  addPage(new QLabel(localizedText(l, "All days of the week")));
  addPage(_weekday);
  addPage(_day);
  auto* form = new QFormLayout;
  form->setHorizontalSpacing(12);
  form->setVerticalSpacing(10);
  form->setLabelAlignment(Qt::AlignTrailing | Qt::AlignVCenter);
  form->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
  form->addRow(localizedText(l, "Back up:"), _kind);
  form->addRow(localizedText(l, "On:"), _parameters);
  form->addRow(localizedText(l, "At:"), _time);
  _kind->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);

  _note->setObjectName(QStringLiteral("scheduleNote"));
  _note->setText(localizedText(l, "Months without that day are skipped."));
  _note->setForegroundRole(QPalette::PlaceholderText);
  // The popover keeps its size, and its controls their place, whether the note is there or not.
  QSizePolicy keeping = _note->sizePolicy();
  keeping.setRetainSizeWhenHidden(true);
  _note->setSizePolicy(keeping);

  auto* whole = new QVBoxLayout(this);
  whole->setContentsMargins(0, 0, 0, 0);
  whole->setSpacing(12);
  whole->addWidget(title);
  whole->addLayout(form);
  whole->addWidget(_note);
  whole->addLayout(buttons());
  // As it is read; the pages came to their place after the controls around them.
  setTabOrder(_kind, _weekday);
  setTabOrder(_weekday, _day);
  setTabOrder(_day, _time);
}

void ScheduleEditor::addPage(QWidget* control) {
  auto* page = new QWidget;
  auto* row = new QHBoxLayout(page);
  row->setContentsMargins(0, 0, 0, 0);
  control->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
  row->addWidget(control);
  _parameters->addWidget(page);
}

QHBoxLayout* ScheduleEditor::buttons() {
  _cancel->setObjectName(QStringLiteral("scheduleCancelButton"));
  _cancel->setText(localizedText(_localization, "Cancel"));
  _cancel->setAutoDefault(true);
  _save->setObjectName(QStringLiteral("saveCalButton"));
  _save->setText(localizedText(_localization, "Save"));
  auto* row = new QHBoxLayout;
  row->addStretch();
  row->addWidget(_cancel);
  row->addWidget(_save);
  return row;
}

void ScheduleEditor::connectControls() {
  const auto whenChosen = [this](QComboBox* list, auto choice) {
    connect(list, &QComboBox::activated, this, [choice](int index) {
      if (index >= 0) choice(static_cast<std::uint64_t>(index));
    });
  };
  whenChosen(_kind, [this](std::uint64_t kind) { _controller.setScheduleType(Value(kind)); });
  whenChosen(_weekday, [this](std::uint64_t day) { _controller.setDayOfWeek(day); });
  whenChosen(_day, [this](std::uint64_t day) { _controller.setDayOfMonth(day); });
  connect(_time, &QTimeEdit::timeChanged, this, [this] { takeTime(); });
  connect(_save, &QPushButton::clicked, this, [this] { save(); });
}

void ScheduleEditor::bindControls() {
  choose(*_day, _daysOfMonth.selectedIndex());
  _bindings.bind(_controller, "dayOfWeek", [this] { choose(*_weekday, _controller.dayOfWeek()); });
  _bindings.bind(_controller, "dayOfMonth", [this] { choose(*_day, _controller.dayOfMonth()); });
  _bindings.bind(_controller, "scheduleType", [this] { showKind(); });
  _bindings.bind(_controller, {"scheduleType", "dayOfMonth"}, [this] { showNote(); });
  _bindings.bind(_controller, "timeOfDay", [this] { showTime(); });
}

void ScheduleEditor::showKind() {
  const std::uint64_t kind = _controller.scheduleType().unsignedIntegerValue();
  choose(*_kind, kind);
  const bool hasPage = kind <= ZPKSchedulerViewController::kEveryMonth;
  _parameters->setCurrentIndex(hasPage ? static_cast<int>(kind) : 0);
}

void ScheduleEditor::showNote() {
  const bool monthly = _controller.scheduleType().unsignedIntegerValue() == ZPKSchedulerViewController::kEveryMonth;
  _note->setVisible(monthly && _controller.dayOfMonth() >= kFirstRareDay);
}

void ScheduleEditor::showTime() {
  const auto& stored = _controller.timeOfDay();
  if (!stored) return;
  const Value shown = _timeTransformer.transformedValue(Value(*stored));
  const Date* date = shown.date();
  if (!date) return;
  const double milliseconds = std::floor(date->secondsSince1970 * kMillisecondsPerSecond);
  const QDateTime moment = QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(milliseconds));
  // Written only when it differs: what is being typed is not to be written anew behind the cursor.
  if (_time->time() == moment.time()) return;
  const QSignalBlocker notTyped(_time);
  _time->setTime(moment.time());
}

// The hour and minute of the first day, whichever day was stored: a job knows no hours beyond that.
void ScheduleEditor::takeTime() {
  const QDateTime moment(QDate(1970, 1, 1), _time->time());
  const Date shown{static_cast<double>(moment.toMSecsSinceEpoch()) / kMillisecondsPerSecond};
  const Value stored = _timeTransformer.reverseTransformedValue(Value(shown));
  if (const Date* date = stored.date()) _controller.setTimeOfDay(*date);
}

void ScheduleEditor::begin() {
  showTime();
  _time->setSelectedSection(QDateTimeEdit::HourSection);
  _kind->setFocus(Qt::PopupFocusReason);
}

void ScheduleEditor::save() {
  // What was typed last.
  _time->interpretText();
  _controller.saveCalAction();
}

void ScheduleEditor::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
    _save->click();
  } else {
    QWidget::keyPressEvent(event);
  }
}

}  // namespace zpk
