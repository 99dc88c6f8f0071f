#include "tools/launchctl/JobDefinition.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "base/PropertyList.h"

namespace zpk {

namespace {

// What a unit's name may have, less ".service".
constexpr std::size_t kMaxLabel = 240;
// A quarter of what the system takes for one argument.
constexpr std::size_t kMaxArgumentBytes = std::size_t{32} << 10;

constexpr bool isAlphanumeric(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

std::optional<JobError> readLabel(const Value& value, JobDefinition& job) {
  if (value.text() == nullptr) return JobError{"Label is not a text"};
  if (!isSafeLabel(*value.text())) {
    return JobError{"Label is not the name of a unit: letters, digits and . - _ : alone, a letter or digit first"};
  }
  job.label = *value.text();
  return std::nullopt;
}

// The service manager takes no others for a program.
bool isProgramPath(const std::string& path) {
  return path.size() > 1 && path.front() == '/' && path.back() != '/' &&
         std::none_of(path.begin(), path.end(), [](char c) {
           return (c >= 0 && c < ' ') || c == '"' || c == '\'' || c == '\\' || c == '\x7f';
         });
}

// NUL, which ends an argument, and what Unicode sets aside as no character: with one of those in a command line,
// the manager runs the program but answers nobody who asks for the service any more. `text` is valid UTF-8.
bool hasImpossibleCharacter(const std::string& text) {
  const auto byte = [&text](std::size_t i) { return i < text.size() ? static_cast<std::uint8_t>(text[i]) : 0U; };
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isInBlock = byte(i) == 0xef && byte(i + 1) == 0xb7 && byte(i + 2) >= 0x90 && byte(i + 2) <= 0xaf;
    const bool endsFirstPlane = byte(i) == 0xef && byte(i + 1) == 0xbf && byte(i + 2) >= 0xbe;
    const bool endsPlane =
        byte(i) >= 0xf0 && (byte(i + 1) & 0xfU) == 0xf && byte(i + 2) == 0xbf && byte(i + 3) >= 0xbe;
    if (text[i] == '\0' || isInBlock || endsFirstPlane || endsPlane) return true;
  }
  return false;
}

std::optional<JobError> readProgramArguments(const Value& value, JobDefinition& job) {
  if (value.array() == nullptr || value.array()->empty()) {
    return JobError{"ProgramArguments is not an array with the program in it"};
  }
  std::size_t bytes = 0;
  for (const Value& argument : *value.array()) {
    if (argument.text() == nullptr) return JobError{"ProgramArguments has something that is not a text"};
    if (hasImpossibleCharacter(*argument.text())) {
      return JobError{"ProgramArguments has a character that no program can be given"};
    }
    bytes += argument.text()->size() + 1;
    if (bytes > kMaxArgumentBytes) return JobError{"ProgramArguments is too long"};
    job.programArguments.push_back(*argument.text());
  }
  if (!isProgramPath(job.programArguments.front())) {
    return JobError{"the program is not an absolute path without quotes, backslashes and control characters"};
  }
  return std::nullopt;
}

std::optional<JobError> readRunAtLoad(const Value& value, JobDefinition& job) {
  // The schedule's editor takes any number for the boolean that it equals.
  if (!value.isNumber()) return JobError{"RunAtLoad is not a boolean"};
  job.runAtLoad = job.runAtLoad || value.boolValue();
  return std::nullopt;
}

std::optional<JobError> readKeepAlive(const Value& value, JobDefinition& job) {
  if (value.isNumber()) {
    job.keepAlive = value.boolValue() ? JobDefinition::KeepAlive::always : JobDefinition::KeepAlive::no;
  } else if (value.dictionary() != nullptr && value.dictionary()->size() == 1 &&
             (*value.dictionary())["SuccessfulExit"].isBoolean()) {
    // Restarting what succeeded, and only that, is nothing that a service manager does for long.
    if ((*value.dictionary())["SuccessfulExit"].boolValue()) {
      return JobError{"KeepAlive with SuccessfulExit true is not supported"};
    }
    job.keepAlive = JobDefinition::KeepAlive::onFailure;
  } else {
    return JobError{"KeepAlive is neither a boolean nor a dictionary with SuccessfulExit alone"};
  }
  job.runAtLoad = job.runAtLoad || job.keepAlive != JobDefinition::KeepAlive::no;
  return std::nullopt;
}

std::optional<JobError> readSession(const Value& value, JobDefinition& job) {
  if (value == Value("Aqua")) {
    job.session = JobDefinition::Session::graphical;
  } else if (value != Value("Background")) {
    return JobError{"LimitLoadToSessionType is neither Aqua nor Background"};
  }
  return std::nullopt;
}

std::optional<JobError> readCalendar(const Value& value, JobDefinition& job) {
  auto intervals = calendarIntervals(value);
  if (!intervals) return intervals.error();
  job.calendar = *std::move(intervals);
  return std::nullopt;
}

using KeyReader = std::optional<JobError> (*)(const Value&, JobDefinition&);
constexpr std::array<std::pair<std::string_view, KeyReader>, 6> kKeys = {{
    {"Label", readLabel},
    {"ProgramArguments", readProgramArguments},
    {"RunAtLoad", readRunAtLoad},
    {"KeepAlive", readKeepAlive},
    {"LimitLoadToSessionType", readSession},
    {"StartCalendarInterval", readCalendar},
}};

std::optional<JobError> readKey(const std::string& key, const Value& value, JobDefinition& job) {
  const auto reader =
      std::find_if(kKeys.begin(), kKeys.end(), [&](const auto& entry) { return entry.first == key; });
  if (reader == kKeys.end()) return JobError{"the key " + key + " is not supported"};
  return reader->second(value, job);
}

}  // namespace

bool isSafeLabel(std::string_view label) {
  return !label.empty() && label.size() <= kMaxLabel && isAlphanumeric(label.front()) &&
         std::all_of(label.begin(), label.end(),
                     [](char c) { return isAlphanumeric(c) || c == '.' || c == '-' || c == '_' || c == ':'; });
}

Expected<Dictionary, JobError> readJobFile(std::span<const std::uint8_t> content) {
  PropertyListLimits limits;
  limits.bytes = kMaxJobBytes;
  const auto value = readPropertyList(content, limits);
  if (!value) return JobError{value.error().description()};
  if (value->dictionary() == nullptr) return JobError{"the property list is not a dictionary"};
  return *value->dictionary();
}

Expected<std::string, JobError> jobLabel(const Dictionary& job) {
  JobDefinition definition;
  if (!job.contains("Label")) return JobError{"there is no Label"};
  if (auto error = readLabel(job["Label"], definition)) return *error;
  return definition.label;
}

Expected<JobDefinition, JobError> jobDefinition(const Dictionary& job) {
  JobDefinition definition;
  for (const std::string_view required : {"Label", "ProgramArguments"}) {
    if (!job.contains(required)) return JobError{"there is no " + std::string(required)};
  }
  for (const auto& [key, value] : job) {
    if (auto error = readKey(key, value, definition)) return *error;
  }
  if (definition.calendar.empty() && !definition.runAtLoad) {
    return JobError{"nothing says when the job is to run: neither StartCalendarInterval, RunAtLoad nor KeepAlive"};
  }
  return definition;
}

}  // namespace zpk
