#pragma once

#include <QLabel>
#include <QPoint>

namespace zpk {

// One line of plain text that ends in an ellipsis when it does not fit, with the whole text as its tool tip then.
//
// Text from outside belongs in here: markup in it stays text, and however long it is, it never widens the window.
class ElidedLabel final : public QLabel {
 public:
  // `secondary` is fainter, for what explains the primary text beside it; `caption` also smaller.
  enum class Role { primary, secondary, caption };

  explicit ElidedLabel(QWidget* parent = nullptr);

  void setRole(Role role);
  // Where the ellipsis stands: at the end unless told otherwise (paths are known by both ends).
  void setElideMode(Qt::TextElideMode mode);
  void setPlainText(const QString& text);

  QSize minimumSizeHint() const override;

 protected:
  bool event(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  void showToolTip(QPoint where);

  Role _role = Role::primary;
  Qt::TextElideMode _elideMode = Qt::ElideRight;
};

}  // namespace zpk
