#pragma once

namespace zpk {

// Which programs there are beside the window's own. What is not there is shown as not to be used.
struct InstalledParts {
  bool updater = false;
  bool uninstaller = false;
  bool statusBarAgent = false;
};

}  // namespace zpk
