#pragma once

#include <QApplication>
#include <QDialog>
#include <QPalette>
#include <QtTest/QTest>
#include <memory>
#include <string>

#include "interface/MainWindow.h"
#include "mainwindow/ControllerWorld.h"
#include "mainwindow/ModalSession.h"
#include "mainwindow/OperationWatch.h"

namespace zpk {

// The real window on the controller, with a scripted helper at the other end.
struct InterfaceWorld : ControllerWorld {
  // "at 12" for the twelfth second.
  struct SecondFormatter final : DateFormatter {
    std::string stringFromDate(const Date& date) const override {
      return "at " + std::to_string(static_cast<std::int64_t>(date.secondsSince1970));
    }
  };
  SecondFormatter times;
  OperationWatch watch{controller, loop, [this] { return Date{loop.now().count()}; }};
  std::unique_ptr<MainWindow> window;

  MainWindow::Surroundings surroundings() { return {texts, dates, times, images, watch}; }

  // `show` last: everything else is there by then.
  void openWindow() {
    window = std::make_unique<MainWindow>(controller, surroundings());
    window->show();
    launch();
    settle();
  }
  ~InterfaceWorld() { window.reset(); }

  // Lets Qt do what is due: layouts, paints, deferred deletions.
  static void settle() {
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
  }
  void show(const Dictionary& status) {
    push(status);
    settle();
  }

  template <class W>
  W* find(const char* name) const {
    W* widget = window->findChild<W*>(QString::fromLatin1(name));
    EXPECT_NE(widget, nullptr) << name;
    return widget;
  }
  template <class W>
  void click(W* button) {
    QTest::mouseClick(button, Qt::LeftButton);
    settle();
  }
  void click(const char* name) { click(find<QWidget>(name)); }

  // The sheet over the window; null for none.
  QDialog* sheet() const {
    for (QDialog* dialog : window->findChildren<QDialog*>()) {
      if (dialog->isVisible()) return dialog;
    }
    return nullptr;
  }
};

inline QPalette darkPalette() {
  const QColor window(0x26, 0x28, 0x2B);
  const QColor text(0xE6, 0xE6, 0xE6);
  QPalette dark(text, QColor(0x3A, 0x3D, 0x41), QColor(0x55, 0x58, 0x5C), QColor(0x16, 0x17, 0x19),
                QColor(0x30, 0x32, 0x36), text, QColor(0xFF, 0xFF, 0xFF), QColor(0x1D, 0x1F, 0x21), window);
  dark.setColor(QPalette::AlternateBase, QColor(0x24, 0x26, 0x29));
  dark.setColor(QPalette::Highlight, QColor(0x3D, 0x8B, 0xD9));
  dark.setColor(QPalette::HighlightedText, Qt::white);
  dark.setColor(QPalette::ToolTipBase, window);
  dark.setColor(QPalette::ToolTipText, text);
  dark.setColor(QPalette::PlaceholderText, QColor(0xE6, 0xE6, 0xE6, 0x90));
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    dark.setColor(QPalette::Disabled, role, QColor(0x80, 0x82, 0x85));
  }
  return dark;
}

}  // namespace zpk
