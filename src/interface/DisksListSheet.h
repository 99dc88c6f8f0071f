#pragma once

#include <memory>

#include "base/Image.h"
#include "base/Localization.h"
#include "choosers/ZPKDisksListWindow.h"
#include "interface/Binding.h"
#include "interface/DisksModel.h"
#include "interface/Sheet.h"
#include "interface/Unfolding.h"

namespace Ui {
class DisksListSheet;
}

namespace zpk {

// The widgets of the disk chooser, bound to its logic. The accessory below the list (size of the restored side, or
// why the disk will not do) unfolds when there is something to say; above it a sentence says what a restore will do
// to the marked disk.
class DisksListSheet final : public Sheet {
 public:
  DisksListSheet(QWidget& window, std::shared_ptr<ZPKDisksListWindow> chooser, const Localization& localization,
                 const ImageLoader& images);
  ~DisksListSheet() override;

  void shown() override { _chooser->orderWindow(ZPKDisksListWindow::Ordering::in); }

 private:
  void showType();
  void bindList();
  void bindAccessory();
  void bindEffect();
  void bindButtons();
  void showDisks();
  void showSelection();
  void sendSelection();
  void showRefusal();
  void showEffect();
  void remark();
  void showSlider();

  std::shared_ptr<ZPKDisksListWindow> _chooser;
  const Localization& _localization;
  DisksModel _disks;
  std::unique_ptr<Ui::DisksListSheet> _ui;
  std::unique_ptr<Unfolding> _accessory;
  QString _effect;  // What a restore onto the marked disk does, in words; empty when there is nothing to say.
  // The list is being told what is selected; it has nothing to say about it.
  bool _showing = false;
  Bindings _bindings;
};

}  // namespace zpk
