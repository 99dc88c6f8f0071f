#pragma once

#include <QLineEdit>
#include <cstdint>

#include "mainwindow/ZPKMaxIncCountFormatter.h"

namespace zpk {

// The field for the most increments that the archive keeps. Its formatter goes over every edit: a number out of
// range is replaced by the nearest limit, anything else that is no number is not taken. Up and Down change the
// number by one, Esc goes back to the one shown before.
//
//   auto* field = new IncrementCountField(formatter, parent);
//   bindings.bind(controller, "maxIncCount", [&] { field->setCount(controller.maxIncCount()); });
//   connect(field, &IncrementCountField::countCommitted, [&](quint64 count) { controller.setMaxIncCount(count); });
class IncrementCountField final : public QLineEdit {
  Q_OBJECT

 public:
  // With a formatter of its own in the field's locale, as an interface file makes it.
  explicit IncrementCountField(QWidget* parent = nullptr);
  explicit IncrementCountField(ZPKMaxIncCountFormatter formatter, QWidget* parent = nullptr);

  // Shows the count, whatever it is; while the user is typing only once he is done and has not chosen another.
  void setCount(std::uint64_t count);

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override { return sizeHint(); }

 signals:
  // Editing is finished (Return, or the focus went elsewhere) and the number is another than the one set. An
  // emptied field commits 1.
  void countCommitted(quint64 count);

 protected:
  void keyPressEvent(QKeyEvent* event) override;

 private:
  class Validator;

  enum class Step { up, down };

  std::uint64_t typedCount() const;
  void step(Step direction);
  void commit();
  void showCount();

  ZPKMaxIncCountFormatter _formatter;
  std::uint64_t _count = 0;
  // What stands in the field is the user's. (The toolkit's own mark goes when the formatter replaces the text.)
  bool _edited = false;
  bool _showing = false;
};

}  // namespace zpk
