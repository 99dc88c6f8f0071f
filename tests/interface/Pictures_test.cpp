#include <gtest/gtest.h>

#include <QDir>
#include <QImage>
#include <QPainter>
#include <QPixmap>
#include <QStyle>

#include "interface/Language.h"
#include "interface/States.h"

namespace zpk {
namespace {

struct Look {
  const char* name;
  bool dark;
  const char* language;
};

constexpr Look kLooks[] = {
    {"light", false, "en"}, {"dark", true, "en"}, {"german", false, "de"}, {"hebrew", false, "he"}};

// Renders every state as a file to look at, and checks that it is a picture of something.
class Pictures : public testing::TestWithParam<std::tuple<WindowState, Look>> {
 protected:
  void SetUp() override {
    QApplication::setPalette(look().dark ? darkPalette() : QApplication::style()->standardPalette());
    world.files.setSpace("/backups", FileSystemSpace{4096, 180'000'000, 244'000'000});
    world.dates.calendar = true;
    language = std::make_unique<InLanguage>(world, look().language);
    world.openWindow();
    world.window->resize(940, 680);
  }
  void TearDown() override {
    world.window.reset();
    QApplication::setPalette(QApplication::style()->standardPalette());
  }

  WindowState state() const { return std::get<0>(GetParam()); }
  Look look() const { return std::get<1>(GetParam()); }

  // The window with its popover or sheet, if one is over it.
  QPixmap picture() const {
    QPixmap picture = world.window->grab();
    if (QWidget* popover = world.popover()) {
      QPainter painter(&picture);
      painter.drawPixmap(popover->pos() - world.window->pos(), popover->grab());
      return picture;
    }
    QDialog* sheet = world.sheet();
    if (!sheet) return picture;
    QPainter painter(&picture);
    painter.fillRect(QRect(QPoint(), world.window->size()), QColor(0, 0, 0, 70));
    const QPixmap over = sheet->grab();
    const QPoint corner((world.window->width() - sheet->width()) / 2,
                        (world.window->height() - sheet->height()) / 3);
    painter.drawPixmap(corner, over);
    painter.setPen(QColor(0, 0, 0, 120));
    painter.drawRect(QRect(corner, sheet->size()));
    return picture;
  }

  QString fileName() const {
    const QString folder = QStringLiteral(ZPK_PICTURES);
    QDir().mkpath(folder);
    const int percent = qRound(world.window->devicePixelRatioF() * 100);
    return QStringLiteral("%1/%2-%3-%4.png").arg(folder, state().name, look().name, QString::number(percent));
  }

  InterfaceWorld world;
  std::unique_ptr<InLanguage> language;
};

bool isVaried(const QImage& image) {
  const QRgb corner = image.pixel(0, 0);
  for (int y = 0; y < image.height(); y += 7) {
    for (int x = 0; x < image.width(); x += 7) {
      if (image.pixel(x, y) != corner) return true;
    }
  }
  return false;
}

TEST_P(Pictures, AreOfSomething) {
  ASSERT_EQ(language->language(), QString::fromLatin1(look().language));
  state().enter(world);
  InterfaceWorld::settle();
  const QPixmap taken = picture();
  EXPECT_TRUE(taken.save(fileName())) << fileName().toStdString();
  EXPECT_TRUE(isVaried(taken.toImage())) << fileName().toStdString() << " is blank";
}

INSTANTIATE_TEST_SUITE_P(Looks, Pictures,
                         testing::Combine(testing::ValuesIn(kWindowStates), testing::ValuesIn(kLooks)),
                         [](const auto& each) {
                           std::string name =
                               std::string(std::get<0>(each.param).name) + "-" + std::get<1>(each.param).name;
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name;
                         });

}  // namespace
}  // namespace zpk
