#pragma once

#include <QList>
#include <QPointer>
#include <QWidget>
#include <memory>

#include "base/DateFormatter.h"
#include "base/Image.h"
#include "base/Localization.h"
#include "interface/Binding.h"
#include "mainwindow/SheetPresenter.h"
#include "mainwindow/ZPKUIDaemonController.h"

class QAction;
class QDialog;

namespace zpk {

// Makes the sheets and puts them over the main window. A sheet is made when it is begun and gone when it is ended.
class SheetHost final : public SheetPresenter {
 public:
  // What the sheets need beside their controller. All of it outlives the host.
  struct Surroundings {
    const Localization& localization;
    const DateFormatter& dates;
    const ImageLoader& images;
    QList<QAction*> actions;  // of the window, that work over a sheet too
  };

  SheetHost(QWidget& window, ZPKUIDaemonController& controller, const Surroundings& surroundings);
  ~SheetHost() override;

  void beginSheet(const SheetWindow& window) override;
  void endSheet(const SheetWindow& window) override;

  // The sheet now over the window; null for none.
  QDialog* currentSheet() const;

 private:
  QDialog* makeSheet(const SheetWindow& window);
  QDialog* makeArchivePanel(const std::shared_ptr<ZPKArchiveSelector>& selector);
  QDialog* makeOutlet(SheetOutlet outlet);
  QDialog* makeErrorDescription();
  QDialog* makeArcNotFromSource();
  QDialog* makeMergeConfirmation();
  QString mergeText() const;

  QWidget& _window;
  ZPKUIDaemonController& _controller;
  const Localization& _localization;
  const DateFormatter& _dates;
  const ImageLoader& _images;
  const QList<QAction*> _actions;
  QPointer<QDialog> _sheet;
  Bindings _bindings;
};

}  // namespace zpk
