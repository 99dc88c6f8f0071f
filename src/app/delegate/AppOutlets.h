#pragma once

#include <functional>
#include <string>
#include <vector>

#include "schedule/ScheduleOutlets.h"

namespace zpk {

// The interface's side of the application's delegate, and the application itself. Main thread.

// `afterQuestion`: later as well, when the user has answered a question over a window; so the windows stay.
enum class TerminateReply { now, later, afterQuestion };

class Application {
 public:
  virtual ~Application() = default;
  // Answers a request to quit that was put off: with true, the application quits.
  virtual void replyToApplicationShouldTerminate(bool quits) = 0;
};

// What the user has to be asked before the application quits.
class QuitQuestion {
 public:
  virtual ~QuitQuestion() = default;
  // Whether there is anything to ask.
  virtual bool isDue() const = 0;
  // Asks, and returns at once. `answered` is called once, in a later turn, with whether the application may quit.
  virtual void ask(std::function<void(bool quits)> answered) = 0;
};

class CollectLogsWindow {
 public:
  virtual ~CollectLogsWindow() = default;
  virtual void makeKeyAndOrderFront() = 0;
  // Takes it down, also when the user may not close it. Like any window that is closed it may be the last one.
  virtual void close() = 0;
  // Whether the user can close it.
  virtual void setCloseButtonEnabled(bool enabled) = 0;
};

class TitledButton {
 public:
  virtual ~TitledButton() = default;
  virtual void setTitle(const std::string& title) = 0;
};

struct TextRun {
  std::string text;
  bool isBold = false;  // in the system's bold font at the system's size
  bool operator==(const TextRun&) const = default;
};

class AttributedTextField {
 public:
  virtual ~AttributedTextField() = default;
  virtual void setAttributedText(const std::vector<TextRun>& runs) = 0;
};

// Something on the screen that a popover can hang on. What it is, is the interface's business.
class View {
 public:
  virtual ~View() = default;
};

class AnchoredPopover : public Popover {
 public:
  // Shows it at the top edge of the view.
  virtual void showRelativeTo(const View& view) = 0;
};

}  // namespace zpk
