#include "interface/MessageSheet.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "interface/PrimaryButton.h"
#include "interface/ScrolledText.h"

namespace zpk {
namespace {

constexpr int kSymbolSide = 44;
constexpr int kTextWidth = 380;
constexpr double kTitleScale = 1.1;

QLabel* plainLabel(const QString& text) {
  auto* label = new QLabel(text);
  label->setTextFormat(Qt::PlainText);
  label->setWordWrap(true);
  label->setFixedWidth(kTextWidth);
  label->setTextInteractionFlags(Qt::TextSelectableByMouse);
  return label;
}

void setBold(QLabel& title) {
  QFont bold = title.font();
  bold.setPointSizeF(bold.pointSizeF() * kTitleScale);
  bold.setWeight(QFont::DemiBold);
  title.setFont(bold);
}

}  // namespace

MessageSheet::MessageSheet(QWidget& window, const Message& message)
    : Sheet(window),
      _title(plainLabel({})),
      _text(new ScrolledText(kTextWidth)),
      _advice(plainLabel({})),
      _contents(new QVBoxLayout) {
  auto* symbol = new QLabel;
  symbol->setPixmap(symbolIcon(message.symbol).pixmap(QSize(kSymbolSide, kSymbolSide), devicePixelRatioF()));
  setBold(*_title);
  setTitle(message.title);
  _text->label().setObjectName(QStringLiteral("messageText"));
  _advice->setObjectName(QStringLiteral("messageAdvice"));
  setText(message.text);
  setAdvice({});
  _contents->setSpacing(8);
  _contents->addWidget(_title);
  _contents->addWidget(_text);
  _contents->addWidget(_advice);

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

void MessageSheet::setTitle(const QString& title) {
  setWindowTitle(title);
  setAccessibleName(title);
  _title->setText(title);
}

void MessageSheet::setText(const QString& text) {
  _text->setText(text);
  describe();
}

void MessageSheet::setAdvice(const QString& advice) {
  _advice->setText(advice);
  _advice->setVisible(!advice.isEmpty());
  describe();
}

void MessageSheet::offerCancel(bool offered) {
  _cancel->setVisible(offered);
  if (offered) _cancel->setFocus();
}

void MessageSheet::describe() {
  const QString& text = _text->label().text();
  setAccessibleDescription(_advice->text().isEmpty() ? text : text + u'\n' + _advice->text());
}

void MessageSheet::addAnswers(QVBoxLayout& whole, const Message& message) {
  if (!message.accept && !message.cancel) return;
  auto* buttons = new QHBoxLayout;
  buttons->addStretch();
  if (message.cancel) {
    _cancel = message.accept ? new QPushButton(this) : new PrimaryButton(this);
    _cancel->setText(message.cancel->title);
    _cancel->setObjectName(QStringLiteral("cancelButton"));
    _cancel->setDefault(!message.accept);
    connect(_cancel, &QPushButton::clicked, this, [this] { reject(); });
    setCancelAction(message.cancel->action);
    _cancel->setFocus();
    buttons->addWidget(_cancel);
  }
  if (message.accept) {
    auto* accept = new PrimaryButton(message.accept->title, this);
    accept->setObjectName(QStringLiteral("actionButton"));
    accept->setDefault(true);
    accept->setFocus();
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
