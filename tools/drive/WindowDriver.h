#pragma once

#include <QElapsedTimer>
#include <QString>
#include <QStringList>
#include <functional>
#include <stdexcept>

#include "app/Composition.h"

class QDialog;
class QWidget;

namespace zpk {

// A step of the drive could not be taken, or what it was to bring about did not come. what() says which.
class DriveFailed : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Works the program's window as a user would: waits for what is to be seen, presses what can be pressed, takes
// pictures. Main thread.
class WindowDriver {
 public:
  WindowDriver(Composition& program, QString pictures);

  // Serves the program until `seen`; throws DriveFailed, naming `what`, when the time is over or an error is shown.
  void waitFor(const QString& what, Seconds atMost, const std::function<bool()>& seen);

  // Presses a button of the window or of its sheet, by its name; throws when there is none that can be pressed.
  void press(const char* buttonName);
  // Presses the sheet's button with that title (a toolkit's own sheet names its buttons by their titles alone).
  void pressTitled(const QString& title);
  // Replaces the text of the field by typing.
  void type(QWidget& field, const QString& text);

  template <class W>
  W& widget(const char* name) {
    W* found = _program.window().findChild<W*>(QString::fromLatin1(name));
    if (!found) throw DriveFailed(std::string("the window has no ") + name);
    return *found;
  }
  // The sheet over the window; null for none.
  QDialog* sheet() const;
  // The text of the error sheet; empty when it is not shown.
  QString shownError() const;

  // Saves a picture of the window, with its sheet over it.
  void takePicture(const QString& name);
  const QStringList& pictures() const { return _taken; }

 private:
  void click(QWidget& button);

  Composition& _program;
  QString _folder;
  QStringList _taken;
};

}  // namespace zpk
