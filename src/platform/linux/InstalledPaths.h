#pragma once

#include <string>

namespace zpk {

// Where the package puts the programs and files that the program starts or hands to others. A value: whoever runs
// from elsewhere changes what he needs to.
struct InstalledPaths {
  // Answers to the job launcher's command line, on top of the user's service manager.
  std::string launcher = "/usr/libexec/zpk/launchctl";
  // The label of its job is the file's name without extension.
  std::string statusBarAgent = "/usr/share/zpk/LaunchAgents/com.tarnwick.zpkstatusbar.plist";
  // The folder of the program that shows the files of a backup point, "qrx-helper".
  std::string virtualDisks = "/usr/libexec/zpk";
  // Programs of their own; where the system's package manager does their work, they are not there.
  std::string updater = "/usr/libexec/zpk/zpk-updater";
  std::string uninstaller = "/usr/libexec/zpk/zpk-uninstall";
};

}  // namespace zpk
