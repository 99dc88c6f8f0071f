#pragma once

#include <QFrame>

namespace zpk {

// A raised area of the window that holds what belongs together: rounded, in the colour of content, with a thin
// edge. `notice` is tinted, for a message across the window.
class Panel : public QFrame {
 public:
  enum class Look { card, notice };

  explicit Panel(QWidget* parent = nullptr);
  void setLook(Look look);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  Look _look = Look::card;
};

}  // namespace zpk
