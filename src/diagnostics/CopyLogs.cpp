#include <regex>

#include "diagnostics/LogTasks.h"
#include "diagnostics/PathNames.h"

namespace zpk {
namespace {

// No file system in use has longer names, in bytes. The library's matcher goes a call deeper with every character.
constexpr std::size_t kLongestName = 255;

// Nothing when the pattern is no regular expression.
std::optional<std::regex> compiled(const std::string& pattern) {
  try {
    std::regex expression;
    // The global locale is the user's business, what is a word character is not.
    expression.imbue(std::locale::classic());
    expression.assign(pattern, std::regex::ECMAScript | std::regex::nosubs);
    return expression;
  } catch (const std::regex_error&) {
    return std::nullopt;
  }
}

bool matches(const std::string& name, const std::regex& expression) {
  if (name.size() > kLongestName) return false;
  try {
    return std::regex_search(name, expression);
  } catch (const std::regex_error&) {
    return false;  // too much work, by the library's own measure
  }
}

}  // namespace

std::uint64_t copyMatchingFiles(const std::string& source, const std::string& pattern, const std::string& folder,
                                const LogCollectionEnvironment& environment) {
  const auto names = environment.fileManager.contentsOfDirectory(source);
  const std::optional<std::regex> expression = compiled(pattern);
  if (!names || !expression) return 0;
  std::uint64_t copied = 0;
  for (const std::string& name : *names) {
    if (!matches(name, *expression)) continue;
    if (environment.fileManager.copyFile(pathInFolder(source, name), pathInFolder(folder, name))) ++copied;
  }
  return copied;
}

}  // namespace zpk
