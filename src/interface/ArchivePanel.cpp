#include "interface/ArchivePanel.h"

#include <QFileInfo>
#include <QLineEdit>
#include <QStandardPaths>
#include <QStringList>

#include "interface/StaticTexts.h"

namespace zpk {
namespace {

QStringList filtersOf(const ZPKArchiveSelector& selector, const Localization& localization) {
  QStringList patterns;
  for (const std::string& type : selector.allowedFileTypes())
    patterns += QStringLiteral("*.") + QString::fromStdString(type);
  return {localizedText(localization, "Backup archives") + QStringLiteral(" (%1)").arg(patterns.join(u' '))};
}

}  // namespace

ArchivePanel::ArchivePanel(QWidget& window, std::shared_ptr<ZPKArchiveSelector> selector,
                           const Localization& localization)
    : QFileDialog(&window, localizedText(localization, "Where to keep the backups")),
      _selector(std::move(selector)) {
  setObjectName(QStringLiteral("archivePanel"));
  setWindowFlag(Qt::Sheet);
  setWindowModality(Qt::WindowModal);
  setOption(QFileDialog::DontUseNativeDialog);
  // An archive that exists is gone on with, not overwritten.
  setOption(QFileDialog::DontConfirmOverwrite);
  setAcceptMode(QFileDialog::AcceptSave);
  setFileMode(QFileDialog::AnyFile);
  setNameFilters(filtersOf(*_selector, localization));
  setLabelText(QFileDialog::FileName, localizedText(localization, "&Name of the archive:"));
  nameField()->setAccessibleName(localizedText(localization, "Name of the archive"));
  const QString choose = localizedText(localization, "Choose");
  setLabelText(QFileDialog::Accept, choose);
  // Once a folder was named on the way to the archive, the toolkit keeps calling the button "Open".
  connect(nameField(), &QLineEdit::textChanged, this,
          [this, choose] { setLabelText(QFileDialog::Accept, choose); });
  setLabelText(QFileDialog::Reject, localizedText(localization, "Cancel"));
  setDirectory(QStandardPaths::writableLocation(QStandardPaths::HomeLocation));
  selectFile(localizedText(localization, "Windows Backup"));
  _selector->setSavePanel(this);
}

ArchivePanel::~ArchivePanel() {
  _selector->setSavePanel(nullptr);
}

QLineEdit* ArchivePanel::nameField() const {
  auto* field = findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
  Q_ASSERT(field);
  return field;
}

void ArchivePanel::accept() {
  // What stands in the name field, and not selectedFiles(): that prefers the folders which were passed while
  // typing.
  const QString name = nameField()->text();
  if (name.isEmpty()) return;
  const QFileInfo chosen(directory(), name);
  const std::string path = chosen.absoluteFilePath().toStdString();
  const bool package = !_selector->treatsFilePackagesAsDirectories() && _selector->hasAllowedFileType(path);
  // A folder is gone into, unless it is an archive: that one is a file to the user.
  if (chosen.isDir() && !package) return setDirectory(chosen.absoluteFilePath());
  _selector->setURL(path);
  // Held here: the action may drop the selector.
  const std::shared_ptr<ZPKArchiveSelector> selector = _selector;
  selector->ok();
}

void ArchivePanel::reject() {
  const std::shared_ptr<ZPKArchiveSelector> selector = _selector;
  selector->cancel();
}

}  // namespace zpk
