#pragma once

#include <string>
#include <variant>
#include <vector>

namespace zpk {

// What the helper was started with. Paths are as given.
struct HelperOptions {
  bool session = false;            // Serve on the session bus instead of the system bus.
  bool devices = false;            // Look at the machine's block devices.
  std::vector<std::string> disks;  // Folders of disk images.
  std::string state;               // Folder of the settings and the log; empty: the usual one.
  std::string icons;               // Folder of the disks' icons; empty: the installed one.
};
struct HelpWanted {};
struct VersionWanted {};
// What is wrong with the command line, and what would be right.
struct CommandLineMistake {
  std::string text;
};
using CommandLine = std::variant<HelperOptions, HelpWanted, VersionWanted, CommandLineMistake>;

// `arguments` without the program's name.
CommandLine parseCommandLine(const std::vector<std::string>& arguments);

std::string helpText();

}  // namespace zpk
