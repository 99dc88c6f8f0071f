// Every interface test runs under one application, offscreen, in the style that is there everywhere.

#include <gtest/gtest.h>

#include <QApplication>
#include <QProxyStyle>

namespace {

// Without animations: what a test looks at is where they end.
class StillStyle final : public QProxyStyle {
 public:
  using QProxyStyle::QProxyStyle;

  int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                QStyleHintReturn* data) const override {
    return hint == SH_Widget_Animation_Duration ? 0 : QProxyStyle::styleHint(hint, option, widget, data);
  }
};

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  QApplication::setStyle(new StillStyle(QStringLiteral("Fusion")));
  QApplication application(argc, argv);
  QApplication::setEffectEnabled(Qt::UI_AnimateMenu, false);
  QApplication::setEffectEnabled(Qt::UI_AnimateCombo, false);
  return RUN_ALL_TESTS();
}
