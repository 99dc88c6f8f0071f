#pragma once

#include <QFileDialog>
#include <memory>

#include "base/Localization.h"
#include "choosers/ZPKArchiveSelector.h"

class QLineEdit;

namespace zpk {

// The archive location panel: the toolkit's own save panel, whose OK and Cancel go through the selector. (A
// desktop's native panel closes by itself and cannot be redirected, so it is not used.)
class ArchivePanel final : public QFileDialog, private SavePanel {
 public:
  ArchivePanel(QWidget& window, std::shared_ptr<ZPKArchiveSelector> selector, const Localization& localization);
  ~ArchivePanel() override;

  void accept() override;
  void reject() override;

 private:
  // The toolkit's own, by the name that it has borne since there is a panel.
  QLineEdit* nameField() const;

  // What the panel does by itself.
  void ok() override { QFileDialog::accept(); }
  void cancel() override { QFileDialog::reject(); }

  std::shared_ptr<ZPKArchiveSelector> _selector;
};

}  // namespace zpk
