#include "interface/ShortcutsDialog.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "interface/PlainTitle.h"
#include "interface/RowSpace.h"
#include "interface/StaticTexts.h"
#include "interface/WindowActions.h"

namespace zpk {
namespace {

constexpr QSize kSize(420, 520);

QTreeWidget* listOf(const WindowActions& actions, const Localization& localization) {
  auto* list = new QTreeWidget;
  list->setObjectName(QStringLiteral("shortcutsList"));
  list->setAccessibleName(localizedText(localization, "Actions and their keys"));
  list->setHeaderLabels({localizedText(localization, "Action"), localizedText(localization, "Keys")});
  list->setRootIsDecorated(false);
  list->setAlternatingRowColors(true);
  list->setAllColumnsShowFocus(true);
  list->setItemDelegate(new RowSpace(list));
  for (const QAction* action : actions.all()) {
    const QString keys = QKeySequence::listToString(action->shortcuts(), QKeySequence::NativeText);
    list->addTopLevelItem(new QTreeWidgetItem({plainTitle(action->text()), keys}));
  }
  list->header()->setSectionResizeMode(0, QHeaderView::Stretch);
  list->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
  list->header()->setStretchLastSection(false);
  list->setCurrentItem(list->topLevelItem(0));
  return list;
}

}  // namespace

ShortcutsDialog::ShortcutsDialog(const WindowActions& actions, const Localization& localization, QWidget& window)
    : QDialog(&window) {
  setObjectName(QStringLiteral("shortcutsDialog"));
  setWindowTitle(localizedText(localization, "Keyboard Shortcuts"));
  setAttribute(Qt::WA_DeleteOnClose);
  auto* buttons = new QDialogButtonBox(this);
  QPushButton* close = buttons->addButton(localizedText(localization, "&Close"), QDialogButtonBox::RejectRole);
  close->setDefault(true);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  auto* whole = new QVBoxLayout(this);
  whole->addWidget(listOf(actions, localization));
  whole->addWidget(buttons);
  resize(kSize);
}

}  // namespace zpk
