#include "tools/launchctl/SystemdUnits.h"

#include "tools/launchctl/ExecLine.h"

namespace zpk {

namespace {

constexpr std::string_view kFirstWords = "# Made by launchctl from ";
constexpr std::string_view kExecStart = "\nExecStart=";

std::string firstLine(std::string_view plist) {
  return std::string(kFirstWords) + quotedForUnit(plist) + "; what is changed here is lost.\n";
}

std::string head(std::string_view plist, std::string_view description) {
  return firstLine(plist) + "[Unit]\nDescription=" + std::string(description) + "\n";
}

std::string restartLines(JobDefinition::KeepAlive keepAlive) {
  switch (keepAlive) {
    case JobDefinition::KeepAlive::no:
      return "";
    case JobDefinition::KeepAlive::onFailure:
      return "Restart=on-failure\nRestartSec=5\n";
    case JobDefinition::KeepAlive::always:
      return "Restart=always\nRestartSec=5\n";
  }
  return "";
}

std::string serviceText(const JobDefinition& job, std::string_view plist) {
  const bool isGraphical = job.session == JobDefinition::Session::graphical;
  std::string text = head(plist, job.label);
  if (isGraphical) text += "PartOf=graphical-session.target\n";
  // A program that cannot live yet, because its display is still to come, is tried again for a while; one that can
  // never live is given up.
  if (job.keepAlive != JobDefinition::KeepAlive::no) text += "StartLimitIntervalSec=300\nStartLimitBurst=20\n";
  // "simple": whether a program that fails at once is started must not depend on who is quicker.
  text += "\n[Service]\nType=simple\nExecStart=" + execLine(job.programArguments) + "\n";
  text += restartLines(job.keepAlive);
  // Whoever unloads a job waits for its end, which is that of the job's own process: what it started for the user
  // (the program's window) is not its to end. Being asked to end is no failure.
  text += "TimeoutStopSec=10\nKillMode=process\nSuccessExitStatus=143\n";
  // One that has done its work stays loaded. With this, "always" would restart nothing that ended well.
  if (job.calendar.empty() && job.keepAlive != JobDefinition::KeepAlive::always) text += "RemainAfterExit=yes\n";
  // Where there is a display to be used, and not at a log-in without one.
  const std::string_view target = isGraphical ? "graphical-session.target" : "default.target";
  if (job.runAtLoad) text += "\n[Install]\nWantedBy=" + std::string(target) + "\n";
  return text;
}

std::string timerText(const JobDefinition& job, std::string_view plist) {
  std::string text = head(plist, "Times of " + job.label) + "\n[Timer]\n";
  for (const CalendarInterval& interval : job.calendar) {
    for (const std::string& expression : calendarExpressions(interval)) text += "OnCalendar=" + expression + "\n";
  }
  return text + "Persistent=true\nAccuracySec=1s\n\n[Install]\nWantedBy=timers.target\n";
}

}  // namespace

std::string serviceName(std::string_view label) {
  return std::string(label) + ".service";
}

std::string timerName(std::string_view label) {
  return std::string(label) + ".timer";
}

std::vector<UnitFile> systemdUnits(const JobDefinition& job, std::string_view plist) {
  // The program of a job with times comes and goes.
  const bool staysUp = job.runAtLoad && (job.calendar.empty() || job.keepAlive == JobDefinition::KeepAlive::always);
  std::vector<UnitFile> units = {{serviceName(job.label), serviceText(job, plist), job.runAtLoad, staysUp}};
  if (!job.calendar.empty()) units.push_back({timerName(job.label), timerText(job, plist), true, true});
  return units;
}

bool isMadeHere(std::string_view unitText) {
  return unitText.starts_with(kFirstWords);
}

bool isMadeFrom(std::string_view unitText, std::string_view plist) {
  return unitText.starts_with(firstLine(plist));
}

std::optional<std::vector<std::string>> programArgumentsOf(std::string_view serviceText) {
  const std::size_t start = serviceText.find(kExecStart);
  if (!isMadeHere(serviceText) || start == std::string_view::npos) return std::nullopt;
  const std::string_view line = serviceText.substr(start + kExecStart.size());
  return argumentsOfExecLine(line.substr(0, line.find('\n')));
}

}  // namespace zpk
