#pragma once

#include <QStringListModel>

#include "schedule/ScheduleOutlets.h"

namespace zpk {

// The titles of a pop-up button and which of them is chosen, whether its control has been made yet or not: the
// controls of a popover are made when it first comes up, and the titles are known before. Main thread.
class PopUpTitles final : public QStringListModel, public PopUpButton {
 public:
  void removeAllItems() override {
    setStringList({});
    _selected = 0;
  }
  void addItemWithTitle(const std::string& title) override {
    setStringList(stringList() << QString::fromStdString(title));
  }
  void selectItemAtIndex(std::uint64_t index) override { _selected = index; }

  std::uint64_t selectedIndex() const { return _selected; }

 private:
  std::uint64_t _selected = 0;
};

}  // namespace zpk
