#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/Workspace.h"

namespace zpk {

// A desktop that records what it was asked to show and to start. Everything works until `works` is false.
class RecordingWorkspace final : public Workspace {
 public:
  struct Launch {
    std::string path;
    std::vector<std::string> arguments;
    friend bool operator==(const Launch&, const Launch&) = default;
  };

  std::shared_ptr<const Image> iconForFileType(std::string_view fileType) override {
    std::shared_ptr<const Image>& icon = _icons[std::string(fileType)];
    if (!icon) icon = std::make_shared<Image>();
    return icon;
  }
  bool openFile(std::string_view path) override {
    opened.emplace_back(path);
    return works;
  }
  bool revealFile(std::string_view path) override {
    revealed.emplace_back(path);
    return works;
  }
  bool launchApplication(std::string_view path, const std::vector<std::string>& arguments) override {
    launched.push_back({std::string(path), arguments});
    return works;
  }

  bool works = true;
  std::vector<std::string> opened;
  std::vector<std::string> revealed;
  std::vector<Launch> launched;

 private:
  std::map<std::string, std::shared_ptr<const Image>> _icons;
};

}  // namespace zpk
