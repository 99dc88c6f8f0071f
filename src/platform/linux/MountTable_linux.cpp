#include "platform/linux/MountTable_linux.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <optional>

namespace zpk {
namespace {

constexpr std::size_t kMountPointField = 4;

// `text` without what stands before the first `separator`, which it gives, and the separator.
std::string_view takeUpTo(std::string_view& text, char separator) {
  const std::size_t end = std::min(text.find(separator), text.size());
  const std::string_view taken = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return taken;
}

bool isOctal(char digit) {
  return digit >= '0' && digit <= '7';
}

std::string unescaped(std::string_view field) {
  std::string text;
  for (std::size_t i = 0; i < field.size(); ++i) {
    const bool escape = field[i] == '\\' && i + 3 < field.size() && field[i + 1] <= '3' && isOctal(field[i + 1]) &&
                        isOctal(field[i + 2]) && isOctal(field[i + 3]);
    if (!escape) {
      text += field[i];
      continue;
    }
    text += static_cast<char>((field[i + 1] - '0') * 64 + (field[i + 2] - '0') * 8 + (field[i + 3] - '0'));
    i += 3;
  }
  return text;
}

std::optional<Mount> mountInLine(std::string_view line) {
  std::vector<std::string_view> fields;
  while (!line.empty()) fields.push_back(takeUpTo(line, ' '));
  if (fields.size() <= kMountPointField + 1) return std::nullopt;
  const auto hyphen = std::find(fields.begin() + kMountPointField + 2, fields.end(), "-");
  if (fields.end() - hyphen < 3) return std::nullopt;
  return Mount{unescaped(hyphen[2]), unescaped(fields[kMountPointField]), unescaped(hyphen[1])};
}

}  // namespace

std::vector<Mount> mountsInTable(std::string_view table) {
  std::vector<Mount> mounts;
  while (!table.empty()) {
    if (std::optional<Mount> mount = mountInLine(takeUpTo(table, '\n'))) mounts.push_back(std::move(*mount));
  }
  return mounts;
}

std::vector<Mount> LinuxMountTable::mounts() const {
  std::ifstream file(_tablePath, std::ios::binary);
  return mountsInTable(std::string{std::istreambuf_iterator<char>(file), {}});
}

}  // namespace zpk
