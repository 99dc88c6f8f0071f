// What the main window's own actions do: its pages, the clipboard, its size, its dialogs.

#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QLineEdit>

#include "interface/AboutDialog.h"
#include "interface/AutoProtectionRow.h"
#include "interface/BackupPointsPane.h"
#include "interface/CollectLogsOutlet.h"
#include "interface/MainWindow.h"
#include "interface/ShortcutsDialog.h"
#include "interface/WindowActions.h"
#include "ui_MainWindow.h"

namespace zpk {
namespace {

// Not modal: it can be looked at beside the window.
void showDialog(QDialog& dialog) {
  dialog.show();
  dialog.raise();
  dialog.activateWindow();
}

}  // namespace

void MainWindow::connectWindowActions() {
  const auto on = [this](QAction* action, void (MainWindow::*act)()) {
    connect(action, &QAction::triggered, this, act);
  };
  on(_actions->about, &MainWindow::showAbout);
  on(_actions->shortcuts, &MainWindow::showShortcuts);
  on(_actions->copy, &MainWindow::copySelection);
  on(_actions->selectAll, &MainWindow::selectAll);
  on(_actions->fullScreen, &MainWindow::toggleFullScreen);
  on(_actions->zoom, &MainWindow::toggleZoom);
  on(_actions->raise, &MainWindow::comeForward);
  connect(_actions->quit, &QAction::triggered, this, [this] { _terminate(); });
  // The program ends with its last window.
  connect(_actions->close, &QAction::triggered, this, &QWidget::close);
  connect(_actions->minimize, &QAction::triggered, this, &QWidget::showMinimized);
  connect(_actions->showPoints, &QAction::triggered, this, [this] {
    showPage(_ui->pointsPage);
    _points->table().setFocus();
  });
  connect(_actions->showLog, &QAction::triggered, this, [this] {
    showPage(_ui->logPage);
    _ui->logView->setFocus();
  });
  connect(_ui->accessoryTabs, &QTabWidget::currentChanged, this, [this] { showPageActions(); });
  showPageActions();
}

void MainWindow::connectSchedule() {
  ViewButton& change = _autoProtection->changeButton();
  connect(&change, &QPushButton::clicked, this, [this, &change] { _delegate.scheduleAction(&change); });
  connect(&_autoProtection->toggleButton(), &QPushButton::clicked, this,
          [this] { _delegate.toggleSchedulerAction(); });
  // The popover hangs on the button, whoever asks for it.
  connect(_actions->changeSchedule, &QAction::triggered, &change, &QPushButton::click);
}

void MainWindow::showPage(QWidget* page) {
  _ui->accessoryTabs->setCurrentWidget(page);
  showPageActions();
}

void MainWindow::showPageActions() {
  const bool log = _ui->accessoryTabs->currentWidget() == _ui->logPage;
  _actions->showLog->setChecked(log);
  _actions->showPoints->setChecked(!log);
}

// Of the text that is being edited or marked, else of the page that is shown.
void MainWindow::copySelection() {
  if (const auto* field = qobject_cast<const QLineEdit*>(focusWidget())) return field->copy();
  QString text;
  if (const auto* label = qobject_cast<const QLabel*>(focusWidget())) text = label->selectedText();
  if (text.isEmpty()) {
    if (_ui->accessoryTabs->currentWidget() == _ui->logPage) return _ui->logView->copySelection();
    text = _points->selectionText();
  }
  if (!text.isEmpty()) QApplication::clipboard()->setText(text);
}

void MainWindow::selectAll() {
  if (auto* field = qobject_cast<QLineEdit*>(focusWidget())) return field->selectAll();
  if (_ui->accessoryTabs->currentWidget() == _ui->logPage) {
    _ui->logView->selectAll();
  } else {
    _points->table().selectAll();
  }
}

void MainWindow::toggleZoom() {
  setWindowState(windowState() ^ Qt::WindowMaximized);
}

void MainWindow::toggleFullScreen() {
  setWindowState(windowState() ^ Qt::WindowFullScreen);
}

void MainWindow::comeForward() {
  setWindowState(windowState() & ~Qt::WindowMinimized);
  if (!isVisible()) {
    show();
    _collectLogs->withdrawQuitPending();
  }
  raise();
  activateWindow();
}

void MainWindow::showShortcuts() {
  auto* dialog = findChild<ShortcutsDialog*>(QStringLiteral("shortcutsDialog"));
  showDialog(dialog ? *dialog : *new ShortcutsDialog(*_actions, _localization, *this));
}

void MainWindow::showAbout() {
  auto* dialog = findChild<AboutDialog*>(QStringLiteral("aboutDialog"));
  showDialog(dialog ? *dialog : *new AboutDialog(_localization, *this));
}

}  // namespace zpk
