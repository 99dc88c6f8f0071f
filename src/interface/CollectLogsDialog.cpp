#include "interface/CollectLogsDialog.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QVBoxLayout>

#include "interface/DisplayText.h"
#include "interface/Headline.h"
#include "interface/Icons.h"
#include "interface/PrimaryButton.h"
#include "interface/StaticTexts.h"

namespace zpk {
namespace {

constexpr int kSymbolSide = 44;
constexpr int kTextWidth = 400;

QLabel* paragraph(const QString& text) {
  auto* label = new QLabel(placedText(text, QGuiApplication::layoutDirection()));
  label->setTextFormat(Qt::PlainText);
  label->setWordWrap(true);
  label->setFixedWidth(kTextWidth);
  return label;
}

}  // namespace

CollectLogsDialog::CollectLogsDialog(ZPKAppDelegate& delegate, const Localization& localization, QWidget& window)
    : QDialog(&window),
      _delegate(delegate),
      _localization(localization),
      _progressText(paragraph({})),
      _progress(new QProgressBar(this)),
      _close(new QPushButton(this)),
      _collect(new PrimaryButton(this)) {
  setObjectName(QStringLiteral("collectLogsWindow"));
  setWindowTitle(localizedText(localization, "Collect Logs"));
  layOut();
  connect(_collect, &QPushButton::clicked, this, [this] { _delegate.collectLogs(); });
  connect(_close, &QPushButton::clicked, this, [this] { close(); });
  _bindings.bind(_delegate, "collectingLogs", [this] { showCollecting(); });
}

void CollectLogsDialog::layOut() {
  const Localization& l = _localization;
  auto* symbol = new QLabel;
  symbol->setPixmap(symbolIcon(Symbol::archive).pixmap(QSize(kSymbolSide, kSymbolSide), devicePixelRatioF()));
  auto* row = new QHBoxLayout;
  row->setSpacing(16);
  row->addWidget(symbol, 0, Qt::AlignTop);
  row->addLayout(texts(), 1);

  _close->setObjectName(QStringLiteral("closeButton"));
  _close->setText(localizedText(l, "&Close"));
  _collect->setObjectName(QStringLiteral("collectLogsButton"));
  _collect->setText(localizedText(l, "C&ollect"));
  _collect->setDefault(true);
  auto* buttons = new QHBoxLayout;
  buttons->addStretch();
  buttons->addWidget(_close);
  buttons->addWidget(_collect);

  auto* whole = new QVBoxLayout(this);
  whole->setContentsMargins(20, 18, 20, 16);
  whole->setSpacing(16);
  whole->setSizeConstraint(QLayout::SetFixedSize);
  whole->addLayout(row);
  whole->addLayout(buttons);
  _collect->setFocus();
}

QVBoxLayout* CollectLogsDialog::texts() {
  const Localization& l = _localization;
  auto* title = paragraph(localizedText(l, "Collect logs for finding a fault"));
  makeHeadline(*title);
  _progressText->setObjectName(QStringLiteral("collectingText"));
  _progress->setObjectName(QStringLiteral("collectingProgress"));
  _progress->setTextVisible(false);
  auto* texts = new QVBoxLayout;
  texts->setSpacing(10);
  texts->addWidget(title);
  texts->addWidget(paragraph(localizedText(
      l,
      "ZPK puts its own logs, those of its helper and of the system, and a list of the disks into one archive and "
      "shows you where it is. Whoever looks into a fault sees from it what has happened.")));
  texts->addWidget(paragraph(localizedText(
      l,
      "The archive stays on this computer until you pass it on yourself. It names disks, files and programs of "
      "yours, but holds nothing of what is in your backups.")));
  texts->addWidget(_progressText);
  texts->addWidget(_progress);
  return texts;
}

void CollectLogsDialog::setClosable(bool closable) {
  _closable = closable;
  _close->setEnabled(closable);
}

void CollectLogsDialog::setQuitPending(bool pending) {
  _quitPending = pending;
  showCollecting();
}

// Closed and not only hidden: it may be the last window, with which the application quits.
void CollectLogsDialog::takeDown() {
  _closable = true;
  close();
}

// A bar without an end moves, and so costs, even when it is not seen.
void CollectLogsDialog::showCollecting() {
  const bool collecting = _delegate.isCollectingLogs();
  _collect->setEnabled(!collecting);
  _progress->setRange(0, collecting ? 0 : 1);
  const QString text = _quitPending ? localizedText(_localization, "ZPK quits when the logs are collected.")
                                    : localizedText(_localization, "Collecting. This takes a few minutes.");
  _progressText->setText(collecting ? placedText(text, layoutDirection()) : QString());
  _progress->setAccessibleName(text);
  _progressText->setVisible(collecting);
  _progress->setVisible(collecting);
  setAccessibleDescription(collecting ? text : QString());
}

void CollectLogsDialog::reject() {
  if (_closable) QDialog::reject();
}

void CollectLogsDialog::closeEvent(QCloseEvent* event) {
  if (_closable) {
    QDialog::closeEvent(event);
  } else {
    event->ignore();
  }
}

}  // namespace zpk
