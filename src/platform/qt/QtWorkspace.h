#pragma once

#include <chrono>
#include <list>
#include <map>
#include <memory>
#include <string>

#include "base/Workspace.h"

class QString;

namespace zpk {

// The user's desktop through what desktops have in common: the default application of a file, the file manager's
// D-Bus interface org.freedesktop.FileManager1, and the icon theme. Nothing here waits for an application.
class QtWorkspace final : public Workspace {
 public:
  // `longestReveal`: for the file manager to show a file; it may have to be started first.
  explicit QtWorkspace(std::chrono::milliseconds longestReveal = std::chrono::seconds(5));
  // A file that is about to be shown still is: waits for the file manager's answer, for that long at the most.
  ~QtWorkspace() override;

  std::shared_ptr<const Image> iconForFileType(std::string_view fileType) override;
  bool openFile(std::string_view path) override;
  // Without a file manager that can select, the folder is opened instead. True once the request is on its way.
  bool revealFile(std::string_view path) override;
  // `path` is absolute: nothing is looked for in PATH.
  bool launchApplication(std::string_view path, const std::vector<std::string>& arguments) override;

 private:
  struct Reveal;

  const std::chrono::milliseconds _longestReveal;
  std::list<Reveal> _reveals;
  std::map<std::string, std::shared_ptr<const Image>, std::less<>> _icons;
};

}  // namespace zpk
