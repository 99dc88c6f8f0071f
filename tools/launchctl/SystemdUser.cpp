#include "tools/launchctl/SystemdUser.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <utility>

namespace zpk {

namespace {

constexpr std::string_view kProperties =
    "--property=LoadState,ActiveState,UnitFileState,FragmentPath,NeedDaemonReload,MainPID,ExecMainCode,"
    "ExecMainStatus,"
    "NextElapseUSecRealtime,LastTriggerUSec";

// What is asked for is done in a second, and the end of a job in ten; a manager that takes longer is stuck.
constexpr std::chrono::seconds kTimeLimit{30};

// Values of ExecMainCode, as waitid(2) tells how a process ended.
constexpr std::int64_t kKilled = 2;
constexpr std::int64_t kDumped = 3;

std::int64_t number(std::string_view text) {
  std::int64_t value = 0;
  std::from_chars(text.data(), text.data() + text.size(), value);
  return value;
}

// "Sun 2026-11-22 12:00:00 UTC"; anything else ("", "n/a") is no time.
std::optional<double> utcTime(std::string_view text) {
  constexpr std::string_view kForm = "Sun 2026-11-22 12:00:00 UTC";
  if (text.size() != kForm.size() || !text.ends_with(" UTC")) return std::nullopt;
  const auto at = [text](std::size_t start, std::size_t length) { return number(text.substr(start, length)); };
  const auto field = [&at](std::size_t start) { return static_cast<unsigned>(at(start, 2)); };
  const std::chrono::year_month_day day(std::chrono::year(static_cast<int>(at(4, 4))), std::chrono::month(field(9)),
                                        std::chrono::day(field(12)));
  if (!day.ok()) return std::nullopt;
  const auto days = std::chrono::sys_days(day).time_since_epoch().count();
  return static_cast<double>(days) * 86'400 + field(15) * 3600 + field(18) * 60 + field(21);
}

std::string_view takeLine(std::string_view& text) {
  const std::size_t end = text.find('\n');
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return line;
}

struct Block {
  UnitState state;
  std::int64_t exitCode = 0;
  std::int64_t exitStatus = 0;
  bool isEmpty = true;
};

void readLine(std::string_view line, Block& block) {
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos) return;
  const std::string_view key = line.substr(0, equals);
  const std::string_view value = line.substr(equals + 1);
  block.isEmpty = false;
  if (key == "LoadState") block.state.loadState = value;
  if (key == "ActiveState") block.state.activeState = value;
  if (key == "UnitFileState") block.state.unitFileState = value;
  if (key == "FragmentPath") block.state.fragmentPath = value;
  if (key == "NeedDaemonReload") block.state.needsReload = value == "yes";
  if (key == "MainPID") block.state.pid = number(value);
  if (key == "ExecMainCode") block.exitCode = number(value);
  if (key == "ExecMainStatus") block.exitStatus = number(value);
  if (key == "NextElapseUSecRealtime") block.state.nextElapse = utcTime(value);
  if (key == "LastTriggerUSec") block.state.lastTrigger = utcTime(value);
}

UnitState finished(Block& block) {
  const bool bySignal = block.exitCode == kKilled || block.exitCode == kDumped;
  block.state.lastExit = bySignal ? -block.exitStatus : block.exitStatus;
  return std::exchange(block, Block()).state;
}

// What the tool said, on one line.
std::string inOneLine(const Bytes& bytes) {
  constexpr std::size_t kMaxLength = 500;
  std::string text(bytes.begin(), bytes.end());
  while (text.ends_with('\n')) text.pop_back();
  std::replace(text.begin(), text.end(), '\n', ' ');
  return text.substr(0, kMaxLength);
}

JobError refusal(const TaskResult& result) {
  if (result.reason != TaskResult::Reason::exit) return JobError{"systemctl was killed"};
  const std::string said = inOneLine(result.standardError);
  if (said.starts_with("Failed to connect to")) {
    return JobError{"there is no service manager of the user to ask: " + said};
  }
  return JobError{said.empty() ? "systemctl ended with status " + std::to_string(result.status) : said};
}

}  // namespace

std::optional<std::vector<UnitState>> parseUnitStates(std::string_view text,
                                                      const std::vector<std::string>& names) {
  std::vector<UnitState> states;
  Block block;
  while (!text.empty()) {
    const std::string_view line = takeLine(text);
    readLine(line, block);
    if ((line.empty() || text.empty()) && !block.isEmpty) states.push_back(finished(block));
  }
  if (states.size() != names.size()) return std::nullopt;
  for (std::size_t i = 0; i < names.size(); ++i) states[i].name = names[i];
  return states;
}

Expected<std::string, JobError> SystemdUser::systemctl(std::vector<std::string> arguments) const {
  TaskDescription task;
  task.launchPath = _systemctl;
  task.timeLimit = kTimeLimit;
  task.arguments = {"--user", "--no-pager", "--no-ask-password"};
  task.arguments.insert(task.arguments.end(), arguments.begin(), arguments.end());
  const auto result = _tasks.run(task);
  if (!result) return JobError{_systemctl + ": " + result.error().reason};
  if (result->reason != TaskResult::Reason::exit || result->status != 0) {
    return refusal(*result);
  }
  return std::string(result->standardOutput.begin(), result->standardOutput.end());
}

Expected<std::vector<UnitState>, JobError> SystemdUser::show(const std::vector<std::string>& names) const {
  if (names.empty()) return std::vector<UnitState>();
  std::vector<std::string> arguments = {"show", std::string(kProperties), "--"};
  arguments.insert(arguments.end(), names.begin(), names.end());
  const auto text = systemctl(std::move(arguments));
  if (!text) return text.error();
  auto states = parseUnitStates(*text, names);
  if (!states) return JobError{"the service manager of the user gave an answer that makes no sense"};
  return *std::move(states);
}

Expected<Done, JobError> SystemdUser::run(const std::vector<std::string>& verb,
                                          const std::vector<std::string>& names) const {
  std::vector<std::string> arguments = verb;
  if (!names.empty()) arguments.emplace_back("--");
  arguments.insert(arguments.end(), names.begin(), names.end());
  const auto text = systemctl(std::move(arguments));
  if (!text) return text.error();
  return Done();
}

}  // namespace zpk
