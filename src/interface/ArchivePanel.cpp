#include "interface/ArchivePanel.h"

#include <QAbstractItemView>
#include <QDir>
#include <QFileInfo>
#include <QFileSystemModel>
#include <QGridLayout>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLineEdit>
#include <QMimeDatabase>
#include <QStandardPaths>
#include <QStringList>
#include <algorithm>

#include "interface/DisplayText.h"
#include "interface/StaticTexts.h"

namespace zpk {
namespace {

QStringList filtersOf(const ZPKArchiveSelector& selector, const Localization& localization) {
  QStringList patterns;
  for (const std::string& type : selector.allowedFileTypes())
    patterns += QStringLiteral("*.") + QString::fromStdString(type);
  return {localizedText(localization, "Backup archives") + QStringLiteral(" (%1)").arg(patterns.join(u' '))};
}

// A path as it was typed: within the folder shown unless it begins elsewhere.
QFileInfo fileAt(const QDir& folder, QString typed) {
  if (typed == u"~" || typed.startsWith(QStringLiteral("~/"))) typed.replace(0, 1, QDir::homePath());
  return QFileInfo(QDir::cleanPath(QFileInfo(folder, typed).absoluteFilePath()));
}

QFileInfo fileOf(const QModelIndex& row) {
  return QFileInfo(row.data(QFileSystemModel::FilePathRole).toString());
}

}  // namespace

ArchivePanel::ArchivePanel(QWidget& window, std::shared_ptr<ZPKArchiveSelector> selector,
                           const Localization& localization)
    : QFileDialog(&window, localizedText(localization, "Where to keep the backups")),
      _selector(std::move(selector)),
      _localization(localization) {
  setObjectName(QStringLiteral("archivePanel"));
  setWindowFlag(Qt::Sheet);
  setWindowModality(Qt::WindowModal);
  setOption(QFileDialog::DontUseNativeDialog);
  // An archive that exists is gone on with, not overwritten.
  setOption(QFileDialog::DontConfirmOverwrite);
  setAcceptMode(QFileDialog::AcceptSave);
  setFileMode(QFileDialog::AnyFile);
  // A pattern among letters from the right would read "rldbackup.*".
  setOption(QFileDialog::HideNameFilterDetails);
  if (!_selector->allowedFileTypes().empty()) setNameFilters(filtersOf(*_selector, localization));
  nameButtons();
  addRefusal();
  for (const char* list : {"listView", "treeView"}) {
    if (auto* view = findChild<QAbstractItemView*>(QString::fromLatin1(list))) chooseFromList(*view);
  }
  startIn(QStandardPaths::writableLocation(QStandardPaths::HomeLocation));
  _selector->setSavePanel(this);
}

// A panel goes some time after it was taken down; the selector may have its next one by then.
ArchivePanel::~ArchivePanel() {
  if (_selector->savePanel() == this) _selector->setSavePanel(nullptr);
}

void ArchivePanel::startIn(const QString& folder) {
  setDirectory(folder);
  selectFile(localizedText(_localization, "Windows Backup"));
}

QLineEdit* ArchivePanel::nameField() const {
  auto* field = findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
  Q_ASSERT(field);
  return field;
}

void ArchivePanel::nameButtons() {
  setLabelText(QFileDialog::FileName, localizedText(_localization, "&Name of the archive:"));
  nameField()->setAccessibleName(localizedText(_localization, "Name of the archive"));
  const QString choose = localizedText(_localization, "Choose");
  setLabelText(QFileDialog::Accept, choose);
  // Once a folder was named on the way to the archive, the toolkit keeps calling the button "Open".
  connect(nameField(), &QLineEdit::textChanged, this,
          [this, choose] { setLabelText(QFileDialog::Accept, choose); });
  setLabelText(QFileDialog::Reject, localizedText(_localization, "Cancel"));
  setLabelText(QFileDialog::LookIn, localizedText(_localization, "Look in:"));
  setLabelText(QFileDialog::FileType, localizedText(_localization, "Files of type:"));
}

// A line across the foot of the panel that is there only while there is something to say.
void ArchivePanel::addRefusal() {
  _refusal = new QLabel(this);
  _refusal->setObjectName(QStringLiteral("refusalLabel"));
  _refusal->setTextFormat(Qt::PlainText);
  _refusal->setWordWrap(true);
  _refusal->hide();
  if (auto* grid = qobject_cast<QGridLayout*>(layout())) grid->addWidget(_refusal, grid->rowCount(), 0, 1, -1);
  connect(nameField(), &QLineEdit::textChanged, this, [this] {
    _refusal->hide();
    nameField()->setAccessibleDescription({});
  });
}

// The toolkit goes into every folder that is double-clicked, an archive's too, so its own reaction is taken away.
void ArchivePanel::chooseFromList(QAbstractItemView& list) {
  disconnect(&list, &QAbstractItemView::activated, this, nullptr);
  connect(&list, &QAbstractItemView::activated, this, [this](const QModelIndex& row) { activated(fileOf(row)); });
  connect(list.selectionModel(), &QItemSelectionModel::currentChanged, this,
          [this](const QModelIndex& row) { picked(fileOf(row)); });
}

bool ArchivePanel::isPackage(const QFileInfo& file) const {
  return !_selector->treatsFilePackagesAsDirectories() &&
         _selector->hasAllowedFileType(file.filePath().toStdString());
}

void ArchivePanel::picked(const QFileInfo& file) {
  if (isPackage(file)) nameField()->setText(file.fileName());
}

void ArchivePanel::activated(const QFileInfo& file) {
  if (file.isDir() && !isPackage(file)) return setDirectory(file.absoluteFilePath());
  nameField()->setText(file.absoluteFilePath());
  accept();
}

QString ArchivePanel::foreignExtension(const QString& name) const {
  const bool everyKind = _selector->allowsOtherFileTypes() || _selector->allowedFileTypes().empty();
  if (everyKind || _selector->hasAllowedFileType(name.toStdString())) return {};
  // Of a kind that the system knows; "Backup 2.5" is a name, not a kind.
  const QString extension = QMimeDatabase().suffixForFileName(name);
  const bool number = std::all_of(extension.begin(), extension.end(), [](QChar c) { return c.isDigit(); });
  return number ? QString() : extension;
}

void ArchivePanel::refuse(const QString& why) {
  _refusal->setText(why);
  _refusal->show();
  nameField()->setFocus();
  // Said with the field, to those who do not see the line below it.
  nameField()->setAccessibleDescription(why);
}

void ArchivePanel::accept() {
  // What stands in the name field, and not selectedFiles(): that prefers the folders which were passed while
  // typing.
  const QString name = nameField()->text();
  if (name.isEmpty()) return;
  const QFileInfo chosen = fileAt(directory(), name);
  // A folder is gone into, unless it is an archive: that one is a file to the user.
  if (chosen.isDir() && !isPackage(chosen)) return setDirectory(chosen.absoluteFilePath());
  if (const QString extension = foreignExtension(chosen.fileName()); !extension.isEmpty()) {
    const QString type = QString::fromStdString(_selector->allowedFileTypes().front());
    return refuse(filledText(
        localizedText(_localization, "An archive’s name ends in “.TYPE”. Choose a name without “.EXTENSION”."),
        {{"TYPE", type}, {"EXTENSION", displayText(extension.toStdString())}}));
  }
  _selector->setURL(chosen.absoluteFilePath().toStdString());
  // Held here: the action may drop the selector.
  const std::shared_ptr<ZPKArchiveSelector> selector = _selector;
  selector->ok();
}

void ArchivePanel::reject() {
  const std::shared_ptr<ZPKArchiveSelector> selector = _selector;
  selector->cancel();
}

}  // namespace zpk
