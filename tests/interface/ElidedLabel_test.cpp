#include "interface/ElidedLabel.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QHelpEvent>
#include <QToolTip>

namespace zpk {
namespace {

QString toolTipOf(ElidedLabel& label) {
  QToolTip::hideText();
  QHelpEvent asked(QEvent::ToolTip, QPoint(2, 2), label.mapToGlobal(QPoint(2, 2)));
  QApplication::sendEvent(&label, &asked);
  return QToolTip::isVisible() ? QToolTip::text() : QString();
}

TEST(ElidedLabel, TextThatFitsHasNoToolTip) {
  ElidedLabel label;
  label.resize(400, 30);
  label.show();
  label.setPlainText(QStringLiteral("Office"));
  EXPECT_EQ(toolTipOf(label), QString());
}

TEST(ElidedLabel, TextThatIsCutIsShownWholeWithItsMarkupAsText) {
  ElidedLabel label;
  label.resize(60, 30);
  label.show();
  label.setPlainText(QStringLiteral("/backups/<b>Office</b> & Home.rldbackup"));
  EXPECT_EQ(toolTipOf(label), "<qt>/backups/&lt;b&gt;Office&lt;/b&gt; &amp; Home.rldbackup</qt>");
}

}  // namespace
}  // namespace zpk
