#pragma once

#include <string_view>

namespace zpk::ctl {

// Where a command's words go. What the helper said is shown on one line whatever is in it.
class Console {
 public:
  virtual ~Console() = default;
  // A result, on standard output.
  virtual void say(std::string_view text) = 0;
  // Why something was not done, on standard error.
  virtual void complain(std::string_view text) = 0;
  // Takes the place of the progress shown before it; nothing unless somebody looks at a terminal.
  virtual void showProgress(std::string_view text) = 0;
};

}  // namespace zpk::ctl
