#include "tools/launchctl/Launcher.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <optional>
#include <utility>

#include "tools/launchctl/JobDefinition.h"

namespace zpk {

namespace {

constexpr std::string_view kHeading = "PID\tStatus\tLabel\n";

bool isKnown(const UnitState& unit) {
  return unit.loadState != "not-found" && !unit.isMasked();
}

// Anything to stop: what failed is not "inactive", and stays what it is until it is told to forget.
bool isUp(const UnitState& unit) {
  return unit.activeState != "inactive";
}

const UnitFile* fileOf(const UnitState& unit, const std::vector<UnitFile>& units) {
  const auto found =
      std::find_if(units.begin(), units.end(), [&](const UnitFile& u) { return u.name == unit.name; });
  return found == units.end() ? nullptr : &*found;
}

// The service manager would start what is no program and say so nowhere but in its log.
std::optional<JobError> whyNoProgram(const std::string& path) {
  struct stat facts {};
  if (::stat(path.c_str(), &facts) != 0) return JobError{"there is no program " + path};
  if (S_ISREG(facts.st_mode) && ::access(path.c_str(), X_OK) == 0) return std::nullopt;
  return JobError{path + " is not a program that can be run"};
}

std::string row(const UnitState& service, const std::string& label) {
  return (service.pid > 0 ? std::to_string(service.pid) : "-") + "\t" + std::to_string(service.lastExit) + "\t" +
         label + "\n";
}

}  // namespace

bool Launcher::JobState::isLoaded() const {
  return isKnown(timer) ? timer.activeState == "active" : isKnown(service) && isUp(service);
}

Expected<Launcher::JobState, JobError> Launcher::stateOf(const std::string& label) const {
  auto states = _user.show({serviceName(label), timerName(label)});
  if (!states) return states.error();
  for (const UnitState& unit : *states) {
    if (isKnown(unit) && !isOurs(unit)) {
      return JobError{unit.name + " is not a unit of a job: " + unit.fragmentPath};
    }
  }
  return JobState{(*states)[0], (*states)[1]};
}

// A unit whose file is gone may be known and run still.
bool Launcher::isOurs(const UnitState& unit) const {
  if (unit.fragmentPath.empty()) return true;
  const auto text = _folder.contents(unit.name);
  return _folder.isPathOf(unit.fragmentPath, unit.name) && (!text || isMadeHere(*text));
}

Expected<Dictionary, JobError> Launcher::readJob(const std::string& plist) const {
  const auto content = _files.contentsOfFile(plist, kMaxJobBytes);
  if (!content) return JobError{content.error().reason};
  return readJobFile(*content);
}

Expected<Done, JobError> Launcher::load(const std::string& plist, Persistence persistence) const {
  const auto dictionary = readJob(plist);
  if (!dictionary) return dictionary.error();
  const auto job = jobDefinition(*dictionary);
  if (!job) return job.error();
  if (auto error = whyNoProgram(job->programArguments.front())) return *error;
  const auto state = stateOf(job->label);
  if (!state) return state.error();
  if (persistence == Persistence::presentLogin && !state->isEnabled()) {
    return JobError{job->label + " is disabled; load -w enables it"};
  }
  const std::vector<UnitFile> units = systemdUnits(*job, plist);
  if (isInForce(units, *state)) return Done();
  if (auto done = takeBack(units, *state); !done) return done;
  return bringIntoForce(units);
}

bool Launcher::isInForce(const std::vector<UnitFile>& units, const JobState& state) const {
  const auto isAsItShouldBe = [&](const UnitState& unit) {
    const UnitFile* wanted = fileOf(unit, units);
    if (wanted == nullptr) return !isKnown(unit);
    return isKnown(unit) && !unit.needsReload && _folder.contents(unit.name) == wanted->text &&
           (!wanted->isStarted || unit.isEnabled()) && (!wanted->staysUp || unit.activeState == "active");
  };
  return isAsItShouldBe(state.service) && isAsItShouldBe(state.timer);
}

// Stops and disables what is other than it should be, so that nothing of the old job is left to run.
Expected<Done, JobError> Launcher::takeBack(const std::vector<UnitFile>& units, const JobState& state) const {
  for (const UnitState* unit : {&state.timer, &state.service}) {
    const UnitFile* wanted = fileOf(*unit, units);
    if (unit->isMasked()) {
      if (auto done = _user.run({"unmask"}, {unit->name}); !done) return done;
    }
    const bool isSame = wanted != nullptr && _folder.contents(unit->name) == wanted->text && !unit->needsReload;
    if (!isSame && isUp(*unit)) {
      if (auto done = _user.run({"stop"}, {unit->name}); !done) return done;
    }
    if (unit->isEnabled() && (wanted == nullptr || !wanted->isStarted)) {
      if (auto done = _user.run({"disable"}, {unit->name}); !done) return done;
    }
    if (unit->activeState == "failed") (void)_user.run({"reset-failed"}, {unit->name});
    if (wanted == nullptr) {
      if (auto done = _folder.remove(unit->name); !done) return done;
    }
  }
  return Done();
}

Expected<Done, JobError> Launcher::bringIntoForce(const std::vector<UnitFile>& units) const {
  std::vector<std::string> started;
  for (const UnitFile& unit : units) {
    if (auto done = _folder.save(unit.name, unit.text); !done) return done;
    if (unit.isStarted) started.push_back(unit.name);
  }
  // Makes the manager read its unit files again, as well.
  if (auto done = _user.run({"reenable"}, started); !done) return done;
  for (const std::string& name : started) {
    // Forgets when the timer last elapsed, so that it does not make up for the time before. One that is running
    // cannot and need not.
    if (name.ends_with(".timer")) (void)_user.run({"clean", "--what=state"}, {name});
  }
  return _user.run({"start"}, started);
}

// The label in the file, and those of the jobs that were made from it: of a file that is gone, or has had another
// label since, there would be nothing left to unload the job by.
Expected<std::vector<std::string>, JobError> Launcher::labelsOf(const std::string& plist) const {
  std::vector<std::string> labels = _folder.labelsMadeFrom(plist);
  const auto dictionary = readJob(plist);
  const auto label = dictionary ? jobLabel(*dictionary) : dictionary.error();
  if (!label && labels.empty()) return label.error();
  if (label && std::find(labels.begin(), labels.end(), *label) == labels.end()) labels.push_back(*label);
  return labels;
}

Expected<Done, JobError> Launcher::unload(const std::string& plist, Persistence persistence) const {
  const auto labels = labelsOf(plist);
  if (!labels) return labels.error();
  Expected<Done, JobError> outcome = Done();
  for (const std::string& label : *labels) {
    auto done = unloadJob(label, persistence);
    if (outcome && !done) outcome = std::move(done);
  }
  return outcome;
}

Expected<Done, JobError> Launcher::unloadJob(const std::string& label, Persistence persistence) const {
  const auto state = stateOf(label);
  if (!state) return state.error();
  // The timer first, so that it does not start the service again.
  for (const UnitState* unit : {&state->timer, &state->service}) {
    if (!isUp(*unit)) continue;
    if (auto done = _user.run({"stop"}, {unit->name}); !done) return done;
    // One that failed before, or by being stopped, would be listed as failed for good. Of any other there is
    // nothing to forget.
    (void)_user.run({"reset-failed"}, {unit->name});
  }
  return persistence == Persistence::futureLogins ? remove(*state) : Done();
}

Expected<Done, JobError> Launcher::remove(const JobState& state) const {
  bool isChanged = false;
  for (const UnitState* unit : {&state.timer, &state.service}) {
    if (unit->isEnabled()) {
      if (auto done = _user.run({"disable"}, {unit->name}); !done) return done;
    }
    if (!isKnown(*unit)) continue;
    if (auto done = _folder.remove(unit->name); !done) return done;
    isChanged = true;
  }
  return isChanged ? _user.run({"daemon-reload"}) : Done();
}

Expected<Launcher::JobState, JobError> Launcher::loadedState(const std::string& label) const {
  if (!isSafeLabel(label)) return JobError{"no job can have that label: " + label};
  auto state = stateOf(label);
  if (!state) return state.error();
  if (!state->isLoaded()) return JobError{label + " is not loaded"};
  return state;
}

Expected<std::string, JobError> Launcher::list() const {
  const std::vector<std::string> labels = _folder.labels();
  std::vector<std::string> names;
  for (const std::string& label : labels) {
    names.push_back(serviceName(label));
    names.push_back(timerName(label));
  }
  auto states = _user.show(names);
  if (!states) return states.error();
  std::string rows(kHeading);
  for (std::size_t i = 0; i < labels.size(); ++i) {
    const JobState state = {(*states)[2 * i], (*states)[2 * i + 1]};
    if (state.isLoaded()) rows += row(state.service, labels[i]);
  }
  return rows;
}

Expected<std::string, JobError> Launcher::list(const std::string& label) const {
  const auto state = loadedState(label);
  if (!state) return state.error();
  return std::string(kHeading) + row(state->service, label);
}

Expected<Dictionary, JobError> Launcher::info(const std::string& label) const {
  const auto state = loadedState(label);
  if (!state) return state.error();
  Dictionary job = {{"Label", label}, {"LastExitStatus", state->service.lastExit}};
  const auto arguments = programArgumentsOf(_folder.contents(state->service.name).value_or(""));
  if (arguments) job.set("ProgramArguments", Array(arguments->begin(), arguments->end()));
  if (state->service.pid > 0) job.set("PID", state->service.pid);
  if (state->timer.lastTrigger) job.set("LastRun", Date{*state->timer.lastTrigger});
  if (state->timer.nextElapse) job.set("NextRun", Date{*state->timer.nextElapse});
  return job;
}

}  // namespace zpk
