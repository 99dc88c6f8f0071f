#include "mainwindow/PathComponents.h"

namespace zpk {
namespace {

std::string_view withoutTrailingSlashes(std::string_view path) {
  while (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
  return path;
}

}  // namespace

std::string nameWithoutExtension(std::string_view path) {
  path = withoutTrailingSlashes(path);
  std::string_view name = path;
  if (const auto slash = path.rfind('/'); slash != std::string_view::npos && path.size() > 1)
    name.remove_prefix(slash + 1);
  const auto point = name.rfind('.');
  if (point != std::string_view::npos && point != 0) name = name.substr(0, point);
  return std::string(name);
}

std::string archiveDisplayName(std::string_view path) {
  return nameWithoutExtension(path);
}

std::string archiveLocation(std::string_view path) {
  path = withoutTrailingSlashes(path);
  const auto slash = path.rfind('/');
  if (slash == std::string_view::npos) return {};
  return std::string(withoutTrailingSlashes(path.substr(0, slash == 0 ? 1 : slash)));
}

}  // namespace zpk
