#pragma once

#include <string>
#include <string_view>

namespace zpk {

// The last component of a path, without slashes at its end: "log" of "/var/log/". Empty for "/" and for nothing.
inline std::string_view lastPathComponent(std::string_view path) {
  while (path.ends_with('/')) path.remove_suffix(1);
  return path.substr(path.rfind('/') + 1);
}

// What holds the last component, without a slash at its end: "/var" of "/var/log/". "/" for what stands in the root
// and for a name alone.
inline std::string_view parentFolder(std::string_view path) {
  while (path.ends_with('/')) path.remove_suffix(1);
  path = path.substr(0, path.rfind('/') == std::string_view::npos ? 0 : path.rfind('/'));
  while (path.ends_with('/')) path.remove_suffix(1);
  return path.empty() ? "/" : path;
}

// A path in a folder that is named with or without a slash at its end.
inline std::string pathInFolder(std::string_view folder, std::string_view name) {
  return std::string(folder).append(folder.ends_with('/') ? "" : "/").append(name);
}

}  // namespace zpk
