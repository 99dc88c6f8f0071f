#pragma once

#include <QIcon>
#include <optional>

#include "interface/Panel.h"
#include "interface/UsageBar.h"

class QLabel;

namespace zpk {

class ElidedLabel;
class PrimaryButton;

// The card of one end of a backup, the disk or the archive: picture, name, what and where it is, how full, and the
// button that chooses another one. Without content it says what to choose.
class PlaceCard final : public Panel {
 public:
  // Texts as they are to be shown.
  struct Content {
    QIcon icon;
    QString name;
    QString detail;
    QString status;
    std::optional<UsageBar::Usage> usage;
  };

  explicit PlaceCard(QWidget* parent = nullptr);

  // What the card is about, above everything else.
  void setCaption(const QString& caption);
  // Shown when there is no content: what to do, and a sentence about it.
  void setPrompt(const QIcon& icon, const QString& name, const QString& detail);
  void setContent(const std::optional<Content>& content);

  PrimaryButton* chooseButton() const { return _choose; }

 private:
  void show(const Content& content);

  Content _prompt;
  ElidedLabel* _caption;
  QLabel* _picture;
  ElidedLabel* _name;
  ElidedLabel* _detail;
  UsageBar* _usage;
  ElidedLabel* _status;
  PrimaryButton* _choose;
};

}  // namespace zpk
