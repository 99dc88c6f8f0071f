#include "tools/zpkstatusbar/StatusBarIcons.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QImage>
#include <QPainter>
#include <QPixmap>

namespace zpk {
namespace {

struct Shown {
  StatusBarIcon icon;
  std::optional<int> percent;
};
constexpr Shown kShown[] = {{StatusBarIcon::ready, {}},     {StatusBarIcon::running, 0},
                            {StatusBarIcon::running, 42},   {StatusBarIcon::running, 100},
                            {StatusBarIcon::attention, {}}, {StatusBarIcon::away, {}}};

TEST(StatusBarIcons, AreAllDifferentInEverySize) {
  for (const int size : {16, 22, 44}) {
    for (const Shown& one : kShown) {
      for (const Shown& other : kShown) {
        if (&one == &other) continue;
        EXPECT_NE(statusBarPixmap(one.icon, one.percent, size).toImage(),
                  statusBarPixmap(other.icon, other.percent, size).toImage());
      }
    }
  }
}

TEST(StatusBarIcons, AreThereInTheSizesOfStatusBars) {
  const QIcon icon = statusBarIcon(StatusBarIcon::ready, {});
  for (const int size : {16, 22, 24, 32, 44, 48, 64}) {
    EXPECT_EQ(icon.actualSize(QSize(size, size)), QSize(size, size));
  }
}

// What is behind them can be white or black: the disc stands out against both.
TEST(StatusBarIcons, StandOutOnAnyPanel) {
  for (const Shown& shown : kShown) {
    const QImage image = statusBarPixmap(shown.icon, shown.percent, 44).toImage();
    const QColor disc = image.pixelColor(22, 5);
    EXPECT_EQ(disc.alpha(), 255);
    EXPECT_GT(disc.value(), 110);
    EXPECT_LT(qGray(disc.rgb()), 150);
    EXPECT_EQ(image.pixelColor(0, 0).alpha(), 0);
  }
}

// The picture of all of them on both kinds of panel, to be looked at: statusbar-icons.png beside the test.
TEST(StatusBarIcons, CanBeLookedAt) {
  QImage picture(6 * 80, 2 * 120, QImage::Format_RGB32);
  QPainter painter(&picture);
  painter.fillRect(0, 0, 480, 120, QColor(0xF2, 0xF2, 0xF2));
  painter.fillRect(0, 120, 480, 120, QColor(0x22, 0x24, 0x27));
  for (int row = 0; row < 2; ++row) {
    int left = 0;
    for (const Shown& shown : kShown) {
      painter.drawPixmap(left + 29, row * 120 + 12, statusBarPixmap(shown.icon, shown.percent, 22));
      painter.drawPixmap(left + 18, row * 120 + 54, statusBarPixmap(shown.icon, shown.percent, 44));
      left += 80;
    }
  }
  painter.end();
  EXPECT_TRUE(picture.save(QDir(QString::fromUtf8(ZPK_PICTURES)).filePath(QStringLiteral("statusbar-icons.png"))));
}

}  // namespace
}  // namespace zpk
