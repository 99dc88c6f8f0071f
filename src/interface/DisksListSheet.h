#pragma once

#include <QStandardItemModel>
#include <memory>

#include "base/Image.h"
#include "base/Localization.h"
#include "choosers/ZPKDisksListWindow.h"
#include "interface/Binding.h"
#include "interface/Sheet.h"

namespace Ui {
class DisksListSheet;
}

namespace zpk {

// The widgets of the disk chooser, bound to its logic.
class DisksListSheet final : public Sheet {
 public:
  DisksListSheet(QWidget& window, std::shared_ptr<ZPKDisksListWindow> chooser, const Localization& localization,
                 const ImageLoader& images);
  ~DisksListSheet() override;

  void shown() override { _chooser->orderWindow(ZPKDisksListWindow::Ordering::in); }

 private:
  void bindList();
  void bindAccessory();
  void bindButtons();
  void showDisks();
  void showSelection();
  void sendSelection();
  void showSlider();
  void sliderMoved(int step);

  std::shared_ptr<ZPKDisksListWindow> _chooser;
  const Localization& _localization;
  const ImageLoader& _images;
  QStandardItemModel _disks;
  std::unique_ptr<Ui::DisksListSheet> _ui;
  Bindings _bindings;
};

}  // namespace zpk
