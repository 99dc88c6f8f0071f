#include "helper/disks/SystemFiles.h"

#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace zpk {
namespace {

template <class Number>
bool parse(std::string_view text, Number& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size();
}

}  // namespace

DeviceNumber deviceNumberOf(std::uint64_t raw) {
  return {gnu_dev_major(raw), gnu_dev_minor(raw)};
}

std::optional<DeviceNumber> deviceNumberOf(std::string_view text) {
  const std::size_t colon = text.find(':');
  DeviceNumber number;
  if (colon == std::string_view::npos || !parse(text.substr(0, colon), number.major) ||
      !parse(text.substr(colon + 1), number.minor)) {
    return std::nullopt;
  }
  return number;
}

std::string systemText(const std::string& path) {
  std::ifstream file(path);
  std::string text(4096, '\0');
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  text.resize(static_cast<std::size_t>(file.gcount()));
  constexpr const char* blanks = " \t\n\r";
  const std::size_t begin = text.find_first_not_of(std::string_view(blanks));
  if (begin == std::string::npos) return {};
  return text.substr(begin, text.find_last_not_of(std::string_view(blanks)) + 1 - begin);
}

std::uint64_t systemNumber(const std::string& path) {
  std::uint64_t number = 0;
  return parse(systemText(path), number) ? number : 0;
}

bool exists(const std::string& path) {
  return ::access(path.c_str(), F_OK) == 0;
}

std::vector<std::string> namesIn(const std::string& folder) {
  std::vector<std::string> names;
  std::error_code error;
  for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    names.push_back(entry->path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace zpk
