#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QLabel>
#include <QMenuBar>
#include <QTabBar>
#include <map>

#include "interface/Language.h"
#include "interface/States.h"

namespace zpk {
namespace {

// Every state in every language, in a window as small as it may be made.
class Languages : public testing::TestWithParam<std::tuple<WindowState, const char*>> {
 protected:
  void SetUp() override {
    world.files.setSpace("/backups", FileSystemSpace{4096, 180'000'000, 244'000'000});
    world.dates.calendar = true;
    language = std::make_unique<InLanguage>(world, std::get<1>(GetParam()));
    world.openWindow();
    std::get<0>(GetParam()).enter(world);
    InterfaceWorld::settle();
    // How low it may be is known at its width.
    world.window->resize(world.window->minimumSizeHint().width(), world.window->height());
    InterfaceWorld::settle();
    world.window->resize(world.window->minimumSizeHint());
    InterfaceWorld::settle();
  }

  // Before its texts.
  void TearDown() override { world.window.reset(); }

  template <class W>
  std::vector<W*> shown() const {
    std::vector<W*> widgets;
    for (W* widget : world.window->findChildren<W*>()) {
      if (widget->isVisible()) widgets.push_back(widget);
    }
    return widgets;
  }

  InterfaceWorld world;
  std::unique_ptr<InLanguage> language;
};

TEST_P(Languages, ButtonsShowTheirWholeText) {
  for (const QAbstractButton* button : shown<QAbstractButton>()) {
    if (button->text().isEmpty()) continue;
    EXPECT_GE(button->width(), button->minimumSizeHint().width()) << button->text().toStdString();
    EXPECT_GE(button->width(), button->fontMetrics().size(Qt::TextShowMnemonic, button->text()).width())
        << button->text().toStdString();
  }
}

TEST_P(Languages, LabelsShowTheirWholeText) {
  for (const QLabel* label : shown<QLabel>()) {
    if (label->text().isEmpty()) continue;
    const QSize needed = label->wordWrap() ? QSize(0, label->heightForWidth(label->width())) : label->sizeHint();
    EXPECT_GE(label->height(), needed.height()) << label->text().toStdString();
    // A label that can say less with an ellipsis may be narrower.
    if (label->minimumSizeHint().width() < label->sizeHint().width()) continue;
    EXPECT_GE(label->width(), needed.width()) << label->text().toStdString();
  }
}

TEST_P(Languages, KeysOfWhatIsShownTogetherDiffer) {
  if (world.sheet()) return;
  std::map<QString, QString> owners;
  const auto expectFree = [&](const QString& text) {
    const QString key = QKeySequence::mnemonic(text).toString();
    if (key.isEmpty()) return;
    EXPECT_EQ(owners.count(key), 0U) << text.toStdString() << " and " << owners[key].toStdString();
    owners.emplace(key, text);
  };
  for (const QAbstractButton* button : shown<QAbstractButton>()) expectFree(button->text());
  for (const QMenuBar* menus : shown<QMenuBar>()) {
    for (const QAction* menu : menus->actions()) expectFree(menu->text());
  }
  for (const QTabBar* tabs : shown<QTabBar>()) {
    for (int i = 0; i < tabs->count(); ++i) expectFree(tabs->tabText(i));
  }
  for (const QLabel* label : shown<QLabel>()) {
    if (label->buddy()) expectFree(label->text());
  }
  EXPECT_FALSE(owners.empty());
}

TEST_P(Languages, WindowsRunInTheDirectionOfTheirLanguage) {
  const bool fromTheRight = language->language() == QStringLiteral("he");
  EXPECT_EQ(world.window->layoutDirection(), fromTheRight ? Qt::RightToLeft : Qt::LeftToRight);
  if (const QDialog* sheet = world.sheet()) {
    EXPECT_EQ(sheet->layoutDirection(), world.window->layoutDirection());
  }
}

INSTANTIATE_TEST_SUITE_P(States, Languages,
                         testing::Combine(testing::ValuesIn(kWindowStates), testing::Values("en", "de", "he")),
                         [](const auto& each) {
                           std::string name =
                               std::string(std::get<0>(each.param).name) + "_" + std::get<1>(each.param);
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name;
                         });

}  // namespace
}  // namespace zpk
