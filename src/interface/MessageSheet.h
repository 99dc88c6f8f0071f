#pragma once

#include <QString>
#include <functional>
#include <optional>

#include "interface/Icons.h"
#include "interface/Sheet.h"

class QLabel;
class QPushButton;
class QVBoxLayout;

namespace zpk {

class ScrolledText;

// A sheet that says one thing and offers at most two answers: the error, the confirmations, the helper's being
// busy. Its words can be marked and copied, by mouse and by keyboard.
class MessageSheet : public Sheet {
 public:
  struct Answer {
    QString title;
    std::function<void()> action;
  };
  struct Message {
    Symbol symbol = Symbol::warning;
    QString title;  // one short sentence
    QString text;   // plain; several lines when need be, scrolled when it is very long
    std::optional<Answer> accept;
    std::optional<Answer> cancel;  // also Esc
  };

  MessageSheet(QWidget& window, const Message& message);

  void setTitle(const QString& title);
  void setText(const QString& text);
  // A second paragraph: what to do about it. Not there when empty.
  void setAdvice(const QString& advice);

 protected:
  // Where a subclass puts controls of its own: below the text.
  QVBoxLayout& contents() { return *_contents; }
  // Whether the button of the cancel answer is there to be used.
  void offerCancel(bool offered);

 private:
  void addAnswers(QVBoxLayout& whole, const Message& message);
  void describe();

  QLabel* _title;
  ScrolledText* _text;
  QLabel* _advice;
  QVBoxLayout* _contents;
  QPushButton* _cancel = nullptr;
};

}  // namespace zpk
