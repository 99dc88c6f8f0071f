#include "interface/PlaceCard.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

#include "interface/ElidedLabel.h"
#include "interface/PrimaryButton.h"

namespace zpk {
namespace {

constexpr int kPictureSide = 56;
constexpr double kNameScale = 1.25;

}  // namespace

PlaceCard::PlaceCard(QWidget* parent)
    : Panel(parent),
      _caption(new ElidedLabel(this)),
      _picture(new QLabel(this)),
      _name(new ElidedLabel(this)),
      _detail(new ElidedLabel(this)),
      _usage(new UsageBar(this)),
      _status(new ElidedLabel(this)),
      _choose(new PrimaryButton(this)) {
  setMinimumWidth(320);
  _choose->setMinimumWidth(_choose->fontMetrics().averageCharWidth() * 22);
  _choose->setProminent(false);
  _caption->setRole(ElidedLabel::Role::caption);
  _picture->setFixedSize(kPictureSide, kPictureSide);
  QFont bold = _name->font();
  bold.setPointSizeF(bold.pointSizeF() * kNameScale);
  bold.setWeight(QFont::DemiBold);
  _name->setFont(bold);
  _detail->setRole(ElidedLabel::Role::secondary);
  _detail->setElideMode(Qt::ElideMiddle);
  _status->setRole(ElidedLabel::Role::secondary);

  auto* texts = new QVBoxLayout;
  texts->setSpacing(4);
  texts->addWidget(_name);
  texts->addWidget(_detail);
  texts->addWidget(_status);
  texts->addSpacing(4);
  texts->addWidget(_usage);
  texts->addStretch();

  auto* row = new QHBoxLayout;
  row->setSpacing(14);
  row->addWidget(_picture, 0, Qt::AlignTop);
  row->addLayout(texts, 1);

  auto* head = new QHBoxLayout;
  head->addWidget(_caption, 1);
  head->addWidget(_choose);

  auto* whole = new QVBoxLayout(this);
  whole->setContentsMargins(16, 12, 14, 14);
  whole->setSpacing(10);
  whole->addLayout(head);
  whole->addLayout(row, 1);
}

void PlaceCard::setCaption(const QString& caption) {
  _caption->setPlainText(caption);
  setAccessibleName(caption);
}

void PlaceCard::setPrompt(const QIcon& icon, const QString& name, const QString& detail) {
  _prompt = {icon, name, detail, {}, {}};
}

void PlaceCard::setContent(const std::optional<Content>& content) {
  show(content.value_or(_prompt));
  _picture->setEnabled(content.has_value());
}

void PlaceCard::show(const Content& content) {
  _picture->setPixmap(content.icon.pixmap(QSize(kPictureSide, kPictureSide), devicePixelRatioF()));
  _name->setPlainText(content.name);
  _detail->setPlainText(content.detail);
  _usage->setVisible(content.usage.has_value());
  if (content.usage) _usage->setUsage(*content.usage);
  _status->setPlainText(content.status);
  const QString words = QStringList{content.name, content.detail, content.status}.join(QStringLiteral(", "));
  setAccessibleDescription(words);
  _usage->setAccessibleName(content.status);
}

}  // namespace zpk
