#pragma once

#include <memory>

namespace zpk {

class RLDArchiveItem;

// What a backup point wants of the main controller when its check box is clicked.
class ArchiveItemPinning {
 public:
  virtual ~ArchiveItemPinning() = default;
  // Starts pinning (or unpinning) the backup point, which may ask the user and change nothing.
  virtual void pin(bool flag, const RLDArchiveItem& archiveItem) = 0;
};

// The process-wide reference to the main controller, which registers itself when the application has started. Weak:
// it keeps nobody alive. Main thread only.
void setMainController(std::weak_ptr<ArchiveItemPinning> controller);

// The main controller, or null when none is registered or it is gone.
std::shared_ptr<ArchiveItemPinning> mainController();

}  // namespace zpk
