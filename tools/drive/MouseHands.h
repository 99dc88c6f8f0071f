#pragma once

#include "tools/drive/Hands.h"

namespace zpk {

// Points and clicks; commands without a button are looked up in the menus.
class MouseHands final : public Hands {
 public:
  void press(QAbstractButton& button) override;
  void command(QAbstractButton& button, QAction& action) override;
  void command(QAction& action) override;
  void selectRow(QAbstractItemView& list, int row) override;
  void tick(QAbstractItemView& list, const QModelIndex& box) override;
  void choose(QComboBox& list, int row) override;
  void type(QTimeEdit& picker, const QString& figures) override;
  void type(QLineEdit& field, const QString& text) override;
  void finish(QLineEdit& field, QWidget& elsewhere) override;
  void slideDown(QSlider& slider) override;
  void slideToLowest(QSlider& slider) override;
  void accept(QDialog& sheet) override;
  void cancel(QDialog& sheet) override;
};

}  // namespace zpk
