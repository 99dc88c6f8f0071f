#pragma once

#include <QDialog>
#include <QString>
#include <QStringList>
#include <functional>

#include "app/Composition.h"
#include "tools/drive/DriveFailed.h"

namespace zpk {

// The eyes on the program's window: finds what is shown, waits for what is to be seen, takes pictures. Whatever is
// not there in time, or an error that nobody expected, throws DriveFailed. Main thread.
class WindowDriver {
 public:
  WindowDriver(Composition& program, QString pictures);

  // Serves the program until `seen`; throws DriveFailed, naming `what`, when the time is over or an error is shown.
  void waitFor(const QString& what, Seconds atMost, const std::function<bool()>& seen);
  // The same, where an error is what is waited for.
  void waitThroughErrorsFor(const QString& what, Seconds atMost, const std::function<bool()>& seen);

  template <class W>
  W& widget(const char* name) {
    return required<W>(_program.window().findChild<W*>(QString::fromLatin1(name)), name);
  }
  // A control of the sheet that is over the window.
  template <class W>
  W& sheetWidget(const char* name) {
    return required<W>(shownSheet().template findChild<W*>(QString::fromLatin1(name)), name);
  }

  // The sheet over the window; null for none.
  QDialog* sheet() const;
  QDialog& shownSheet() const;
  // The text of the error sheet; empty when it is not shown.
  QString shownError() const;

  // Saves a picture of the window, with its popover or its sheet over it.
  void takePicture(const QString& name);
  const QStringList& pictures() const { return _taken; }

 private:
  template <class W>
  static W& required(W* found, const char* name) {
    if (!found) throw DriveFailed(std::string("the window has no ") + name);
    return *found;
  }
  void failOnError();

  Composition& _program;
  QString _folder;
  QStringList _taken;
};

}  // namespace zpk
