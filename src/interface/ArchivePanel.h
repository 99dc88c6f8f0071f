#pragma once

#include <QFileDialog>
#include <memory>

#include "base/Localization.h"
#include "choosers/ZPKArchiveSelector.h"

class QAbstractItemView;
class QFileInfo;
class QLabel;
class QLineEdit;

namespace zpk {

// The archive location panel: the toolkit's own save panel, whose OK and Cancel go through the selector. (A
// desktop's native panel closes by itself and cannot be redirected, so it is not used.)
//
// A folder with an archive's extension is one file to the user: choosing it, by whatever means, names it. A name of
// another kind of file is answered in the panel. Whether the place can be written to is the helper's to say.
class ArchivePanel final : public QFileDialog, private SavePanel {
 public:
  ArchivePanel(QWidget& window, std::shared_ptr<ZPKArchiveSelector> selector, const Localization& localization);
  ~ArchivePanel() override;

  // The folder that is shown first, where it is another than the user's own.
  void startIn(const QString& folder);

  void accept() override;
  void reject() override;

 private:
  // The toolkit's own, by the name that it has borne since there is a panel.
  QLineEdit* nameField() const;
  void nameButtons();
  void addRefusal();
  void chooseFromList(QAbstractItemView& list);
  void picked(const QFileInfo& file);
  void activated(const QFileInfo& file);
  bool isPackage(const QFileInfo& file) const;
  // The extension of a kind of file that is no archive, or empty.
  QString foreignExtension(const QString& name) const;
  void refuse(const QString& why);

  // What the panel does by itself.
  void ok() override { done(QDialog::Accepted); }
  void cancel() override { done(QDialog::Rejected); }

  std::shared_ptr<ZPKArchiveSelector> _selector;
  const Localization& _localization;
  QLabel* _refusal = nullptr;
};

}  // namespace zpk
