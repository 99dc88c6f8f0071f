#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/Image.h"

namespace zpk {

// The user's desktop: its icons, its file viewer, its applications. Main thread only.
class Workspace {
 public:
  virtual ~Workspace() = default;

  // The icon of files of type `fileType` ("rldbackup"); asking again answers the same picture.
  virtual std::shared_ptr<const Image> iconForFileType(std::string_view fileType) = 0;
  // Opens the file or folder with its default application (a folder: the file viewer). False when that failed.
  virtual bool openFile(std::string_view path) = 0;
  // Shows the file, selected, in the file viewer. False when that failed.
  virtual bool revealFile(std::string_view path) = 0;
  // Starts an application that runs on by itself. False when it could not be started.
  virtual bool launchApplication(std::string_view path, const std::vector<std::string>& arguments) = 0;
};

}  // namespace zpk
