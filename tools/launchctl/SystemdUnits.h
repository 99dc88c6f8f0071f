#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/launchctl/JobDefinition.h"

namespace zpk {

// A unit file of a job.
struct UnitFile {
  std::string name;  // "com.example.job.timer"
  std::string text;
  bool isStarted = false;  // by log-in and by loading the job; else another unit of the job starts it
  bool staysUp = false;    // once it is started, for as long as the job is loaded

  bool operator==(const UnitFile&) const = default;
};

std::string serviceName(std::string_view label);
std::string timerName(std::string_view label);

// The units that do what `job` defines: a service, and a timer when the job has times. `plist`, the path of the
// job's file, stands in a comment.
//
// A job that runs at load and has no times stays "active" after its program ended well, so that the service's state
// tells whether the job is loaded. With times it is the timer's that does.
std::vector<UnitFile> systemdUnits(const JobDefinition& job, std::string_view plist);

// Whether a unit file's content was made by systemdUnits. No other is ever changed or removed.
bool isMadeHere(std::string_view unitText);
// The same, from the job file of that path.
bool isMadeFrom(std::string_view unitText, std::string_view plist);

// The arguments of the program that a service made by systemdUnits runs; nothing for any other text.
std::optional<std::vector<std::string>> programArgumentsOf(std::string_view serviceText);

}  // namespace zpk
