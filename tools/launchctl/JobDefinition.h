#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/Expected.h"
#include "base/Value.h"
#include "tools/launchctl/Calendar.h"

namespace zpk {

// A job as its property list defines it.
struct JobDefinition {
  enum class KeepAlive { no, onFailure, always };
  enum class Session { any, graphical };

  std::string label;
  std::vector<std::string> programArguments;  // the program's absolute path first
  bool runAtLoad = false;                     // also true of a job that is kept alive
  KeepAlive keepAlive = KeepAlive::no;
  Session session = Session::any;
  std::vector<CalendarInterval> calendar;  // empty: no times of its own
};

// How long a job file may be.
inline constexpr std::size_t kMaxJobBytes = std::size_t{1} << 20;

// The dictionary in a job file's content; nothing else is a job.
Expected<Dictionary, JobError> readJobFile(std::span<const std::uint8_t> content);

// The label of a job, which names its units. Refused when it is no safe name of one: letters, digits and ".-_:"
// alone, a letter or digit first.
Expected<std::string, JobError> jobLabel(const Dictionary& job);
bool isSafeLabel(std::string_view label);

// The job that `job` defines. Keys that are not known are refused rather than passed over: most of them say when or
// how a job is to run, and it would run at other times or in another way than its author meant.
Expected<JobDefinition, JobError> jobDefinition(const Dictionary& job);

}  // namespace zpk
