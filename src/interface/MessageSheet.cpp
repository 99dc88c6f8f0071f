#include "interface/MessageSheet.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "interface/PrimaryButton.h"

namespace zpk {
namespace {

constexpr int kSymbolSide = 44;
constexpr int kTextWidth = 360;
constexpr double kTitleScale = 1.1;

QLabel* plainLabel(const QString& text) {
  auto* label = new QLabel(text);
  label->setTextFormat(Qt::PlainText);
  label->setWordWrap(true);
  label->setMinimumWidth(kTextWidth);
  return label;
}

}  // namespace

MessageSheet::MessageSheet(QWidget& window, const Message& message)
    : Sheet(window), _text(plainLabel(message.text)), _contents(new QVBoxLayout) {
  setWindowTitle(message.title);
  setAccessibleName(message.title);
  setAccessibleDescription(message.text);

  auto* symbol = new QLabel;
  symbol->setPixmap(symbolIcon(message.symbol).pixmap(QSize(kSymbolSide, kSymbolSide), devicePixelRatioF()));
  QLabel* title = plainLabel(message.title);
  QFont bold = title->font();
  bold.setPointSizeF(bold.pointSizeF() * kTitleScale);
  bold.setWeight(QFont::DemiBold);
  title->setFont(bold);
  _text->setObjectName(QStringLiteral("messageText"));
  _text->setTextInteractionFlags(Qt::TextSelectableByMouse);
  _contents->setSpacing(8);
  _contents->addWidget(title);
  _contents->addWidget(_text);

  auto* row = new QHBoxLayout;
  row->setSpacing(16);
  row->addWidget(symbol, 0, Qt::AlignTop);
  row->addLayout(_contents, 1);
  auto* whole = new QVBoxLayout(this);
  whole->setContentsMargins(20, 18, 20, 16);
  whole->setSpacing(16);
  whole->setSizeConstraint(QLayout::SetFixedSize);
  whole->addLayout(row);
  addAnswers(*whole, message);
}

void MessageSheet::setText(const QString& text) {
  _text->setText(text);
  setAccessibleDescription(text);
}

void MessageSheet::addAnswers(QVBoxLayout& whole, const Message& message) {
  if (!message.accept && !message.cancel) return;
  auto* buttons = new QHBoxLayout;
  buttons->addStretch();
  if (message.cancel) {
    QPushButton* cancel = message.accept ? new QPushButton(this) : new PrimaryButton(this);
    cancel->setText(message.cancel->title);
    cancel->setObjectName(QStringLiteral("cancelButton"));
    cancel->setDefault(!message.accept);
    connect(cancel, &QPushButton::clicked, this, [this] { reject(); });
    setCancelAction(message.cancel->action);
    buttons->addWidget(cancel);
  }
  if (message.accept) {
    auto* accept = new PrimaryButton(message.accept->title, this);
    accept->setObjectName(QStringLiteral("actionButton"));
    accept->setDefault(true);
    // The closure's own copy of the action: the sheet may be gone before it returns.
    connect(accept, &QPushButton::clicked, this, [action = message.accept->action] {
      const auto kept = action;
      kept();
    });
    buttons->addWidget(accept);
  }
  whole.addLayout(buttons);
}

}  // namespace zpk
