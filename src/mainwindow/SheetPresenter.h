#pragma once

#include <cstdint>
#include <memory>
#include <variant>

namespace zpk {

class ZPKArchiveSelector;
class ZPKDisksListWindow;

// The sheets that the interface files hold whole, by the outlet that names each.
enum class SheetOutlet {
  updateInfoWindow,
  errorDescriptionWindow,
  arcNotFromSourceWindow,
  mergeConfirmationWindow,
  incrementLabelWindow,
};

// A sheet that is ready to be shown: none, a window of the interface files, the disk chooser or the archive
// location panel.
using SheetWindow = std::variant<std::monostate, SheetOutlet, std::shared_ptr<ZPKDisksListWindow>,
                                 std::shared_ptr<ZPKArchiveSelector>>;

inline bool isNoWindow(const SheetWindow& window) {
  return std::holds_alternative<std::monostate>(window);
}

// Puts sheets over the main window; the interface implements it. Main thread.
class SheetPresenter {
 public:
  virtual ~SheetPresenter() = default;

  // Shows the sheet, window-modal over the main window, and returns at once. At most one is shown at a time.
  virtual void beginSheet(const SheetWindow& window) = 0;
  // Takes the sheet down. It sends no action while it goes.
  virtual void endSheet(const SheetWindow& window) = 0;
};

}  // namespace zpk
