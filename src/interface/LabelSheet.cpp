#include "interface/LabelSheet.h"

#include <QLineEdit>
#include <QVBoxLayout>

#include "interface/StaticTexts.h"

namespace zpk {
namespace {

constexpr int kLongestLabel = 255;

MessageSheet::Message messageOf(ZPKUIDaemonController& controller, const Localization& localization) {
  return {.symbol = Symbol::archive,
          .title = localizedText(localization, "Pin this backup point"),
          .text = localizedText(localization,
                                "A pinned backup point is never merged away. Give it a label to know it by."),
          .accept = MessageSheet::Answer{localizedText(localization, "&Pin"),
                                         [&controller] { controller.sheetOKAction(); }},
          .cancel = MessageSheet::Answer{localizedText(localization, "&Cancel"),
                                         [&controller] { controller.sheetCancelAction(); }}};
}

// What was typed or pasted as the one line that a label is. The field's limit counts halves of a character, and may
// have cut the last one in two.
std::string labelOf(QString text) {
  if (!text.isEmpty() && text.back().isHighSurrogate()) text.chop(1);
  for (QChar& c : text) {
    if (c.category() == QChar::Other_Control || c == QChar::LineSeparator || c == QChar::ParagraphSeparator)
      c = u' ';
  }
  return text.toStdString();
}

}  // namespace

LabelSheet::LabelSheet(QWidget& window, ZPKUIDaemonController& controller, const Localization& localization)
    : MessageSheet(window, messageOf(controller, localization)), _controller(controller) {
  auto* label = new QLineEdit(this);
  label->setObjectName(QStringLiteral("incrementLabelField"));
  label->setAccessibleName(localizedText(localization, "Label"));
  label->setPlaceholderText(localizedText(localization, "Label"));
  label->setMaxLength(kLongestLabel);
  contents().addWidget(label);
  connect(label, &QLineEdit::textEdited, this,
          [this](const QString& text) { _controller.setIncrementLabel(labelOf(text)); });
  _bindings.bind(_controller, "incrementLabel", [this, label] {
    const QString text = QString::fromStdString(_controller.incrementLabel());
    if (text != label->text()) label->setText(text);
  });
  label->setFocus();
}

}  // namespace zpk
