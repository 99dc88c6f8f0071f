#pragma once

#include <QWidget>
#include <memory>

#include "base/DateFormatter.h"
#include "base/Localization.h"
#include "interface/Binding.h"
#include "interface/EmptyTextView.h"
#include "mainwindow/ZPKUIDaemonController.h"

namespace zpk {

class BackupPointsModel;
class WindowActions;

// The table of backup points and the buttons for the selected one.
//
// The selected rows are the controller's "selectedArcItemsIndexes". A pin's box shows the record's state alone: a
// click asks for the other one, and the box follows with the helper's next record.
class BackupPointsPane final : public QWidget {
 public:
  BackupPointsPane(ZPKUIDaemonController& controller, const WindowActions& actions,
                   const Localization& localization, const DateFormatter& dates, QWidget* parent = nullptr);
  ~BackupPointsPane() override;

  EmptyTextTable& table() { return *_table; }

  // The selected points as lines of the table's texts with tabs between, as spreadsheets take them; empty for none.
  QString selectionText() const;

 private:
  void setUpTable();
  QLayout* makeButtons(const WindowActions& actions);
  void bindTable();
  void sendSelection();

  ZPKUIDaemonController& _controller;
  const Localization& _localization;
  std::unique_ptr<BackupPointsModel> _points;
  EmptyTextTable* _table;
  Bindings _bindings;
};

}  // namespace zpk
