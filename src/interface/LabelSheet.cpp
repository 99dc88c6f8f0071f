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
          [this](const QString& text) { _controller.setIncrementLabel(text.toStdString()); });
  _bindings.bind(_controller, "incrementLabel", [this, label] {
    const QString text = QString::fromStdString(_controller.incrementLabel());
    if (text != label->text()) label->setText(text);
  });
  label->setFocus();
}

}  // namespace zpk
