#pragma once

#include <cstdint>
#include <string>

namespace zpk {

// The interface's side of the schedule editor: what the controller asks of the controls that it does not merely
// have bound to it. Main thread.

// A list of titles of which one is chosen.
class PopUpButton {
 public:
  virtual ~PopUpButton() = default;
  virtual void removeAllItems() = 0;
  virtual void addItemWithTitle(const std::string& title) = 0;
  // Of an index beyond the list none is chosen.
  virtual void selectItemAtIndex(std::uint64_t index) = 0;
};

// A small window that hangs on a control. Its delegate hears popoverWillShow before it comes up and popoverDidClose
// after it has gone, however it went.
class Popover {
 public:
  virtual ~Popover() = default;
  virtual bool isShown() const = 0;
  // Takes it down, as if the user had closed it; nothing when it is not shown.
  virtual void performClose() = 0;
};

// How a text is drawn: as that of a usable control, or as that of one that cannot be used now.
enum class ControlTextColor { controlText, disabledControlText };

}  // namespace zpk
