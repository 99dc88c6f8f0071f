#include "interface/AboutDialog.h"

#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "interface/Headline.h"
#include "interface/Icons.h"
#include "interface/StaticTexts.h"

namespace zpk {
namespace {

constexpr int kEmblemSide = 64;
constexpr int kTextWidth = 300;

QLabel* plainLabel(const QString& text) {
  auto* label = new QLabel(text);
  label->setTextFormat(Qt::PlainText);
  label->setWordWrap(true);
  label->setMinimumWidth(kTextWidth);
  return label;
}

}  // namespace

AboutDialog::AboutDialog(const Localization& localization, QWidget& window) : QDialog(&window) {
  setObjectName(QStringLiteral("aboutDialog"));
  setWindowTitle(localizedText(localization, "About ZPK"));
  setAttribute(Qt::WA_DeleteOnClose);
  auto* picture = new QLabel;
  picture->setPixmap(symbolIcon(Symbol::archive).pixmap(QSize(kEmblemSide, kEmblemSide), devicePixelRatioF()));
  QLabel* name = plainLabel(QStringLiteral("ZPK"));
  makeHeadline(*name);
  auto* texts = new QVBoxLayout;
  texts->addWidget(name);
  if (const QString version = QCoreApplication::applicationVersion(); !version.isEmpty()) {
    texts->addWidget(plainLabel(localizedText(localization, "Version") + u' ' + version));
  }
  texts->addWidget(
      plainLabel(localizedText(localization, "Backs up the Windows side of a dual-boot disk, and puts it back.")));
  texts->addStretch();

  auto* row = new QHBoxLayout;
  row->setSpacing(16);
  row->addWidget(picture, 0, Qt::AlignTop);
  row->addLayout(texts, 1);
  auto* buttons = new QDialogButtonBox(this);
  buttons->addButton(localizedText(localization, "&Close"), QDialogButtonBox::RejectRole)->setDefault(true);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  auto* whole = new QVBoxLayout(this);
  whole->setContentsMargins(20, 18, 20, 16);
  whole->setSpacing(16);
  whole->addLayout(row);
  whole->addWidget(buttons);
  whole->setSizeConstraint(QLayout::SetFixedSize);
}

}  // namespace zpk
