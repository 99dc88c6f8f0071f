#include "interface/IncrementCountField.h"

#include <QKeyEvent>
#include <QScopedValueRollback>
#include <QValidator>
#include <memory>
#include <utility>

#include "platform/qt/QtNumberFormat.h"

namespace zpk {
namespace {

// Room for the widest limit and a digit typed too many.
constexpr const char* kWidestText = "0000";

}  // namespace

// Asks the formatter about every text that is to stand in the field.
class IncrementCountField::Validator final : public QValidator {
 public:
  explicit Validator(IncrementCountField& field) : QValidator(&field), _field(field) {}

  // Whatever may stand there can be committed too; the toolkit would hold back the commit of anything less.
  State validate(QString& text, int& cursor) const override {
    if (_field._showing) return Acceptable;
    std::optional<std::string> replacement;
    if (_field._formatter.isPartialStringValid(text.toStdString(), &replacement, nullptr)) return Acceptable;
    if (!replacement) return Invalid;
    text = QString::fromStdString(*replacement);
    cursor = static_cast<int>(text.size());
    return Acceptable;
  }

 private:
  IncrementCountField& _field;
};

IncrementCountField::IncrementCountField(QWidget* parent)
    : IncrementCountField(
          ZPKMaxIncCountFormatter(std::make_shared<QtNumberFormat>(parent ? parent->locale() : QLocale())),
          parent) {}

IncrementCountField::IncrementCountField(ZPKMaxIncCountFormatter formatter, QWidget* parent)
    : QLineEdit(parent), _formatter(std::move(formatter)) {
  setInputMethodHints(Qt::ImhFormattedNumbersOnly);
  setValidator(new Validator(*this));
  connect(this, &QLineEdit::textEdited, this, [this] { _edited = true; });
  connect(this, &QLineEdit::editingFinished, this, [this] { commit(); });
}

void IncrementCountField::setCount(std::uint64_t count) {
  _count = count;
  if (!_edited) showCount();
}

QSize IncrementCountField::sizeHint() const {
  const QSize wide = QLineEdit::sizeHint();
  const int everyLetter = 17 * fontMetrics().horizontalAdvance(u'x');
  const int frame = wide.width() - everyLetter;
  return {fontMetrics().horizontalAdvance(QString::fromLatin1(kWidestText)) + frame, wide.height()};
}

void IncrementCountField::keyPressEvent(QKeyEvent* event) {
  const bool plain = (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
  if (plain && event->key() == Qt::Key_Up) return step(Step::up);
  if (plain && event->key() == Qt::Key_Down) return step(Step::down);
  if (plain && event->key() == Qt::Key_Escape && _edited) return showCount();
  QLineEdit::keyPressEvent(event);
}

// Changes the text as typing would, so that it passes the formatter and is committed in the same way.
void IncrementCountField::step(Step direction) {
  if (isReadOnly()) return;
  std::uint64_t count = typedCount();
  if (!text().isEmpty()) {
    if (direction == Step::up) ++count;
    if (direction == Step::down && count > 0) --count;
  }
  selectAll();
  insert(QString::fromStdString(_formatter.stringForObjectValue(Value(count)).value_or("")));
  selectAll();
}

std::uint64_t IncrementCountField::typedCount() const {
  Value count;
  _formatter.getObjectValue(&count, text().toStdString(), nullptr);
  return count.unsignedIntegerValue();
}

void IncrementCountField::commit() {
  if (!_edited) return;
  const bool changed = typedCount() != _count;
  _count = typedCount();
  showCount();
  if (changed) emit countCommitted(_count);
}

// The formatter goes over what is typed only: a helper's count beyond its range is shown as it is.
void IncrementCountField::showCount() {
  const QScopedValueRollback showing(_showing, true);
  _edited = false;
  setText(QString::fromStdString(_formatter.stringForObjectValue(Value(_count)).value_or("")));
}

}  // namespace zpk
