#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/Expected.h"
#include "base/FileManager.h"
#include "base/Value.h"
#include "tools/launchctl/Calendar.h"
#include "tools/launchctl/SystemdUnits.h"
#include "tools/launchctl/SystemdUser.h"
#include "tools/launchctl/UnitFolder.h"

namespace zpk {

// Job files in, systemd units out.
//
// A job is enabled when systemd has its units enabled: log-in starts it then. It is loaded when its timer is
// active, or, of a job without times, its service is anything but inactive (a program that failed is loaded still).
// Nothing is kept beside what systemd keeps.
//
// An error tells the first thing that did not work; what was done before it stays done, and doing the same again
// goes on from there.
class Launcher {
 public:
  enum class Persistence { presentLogin, futureLogins };  // the latter is "-w"

  // All outlive this.
  Launcher(const FileManager& files, const UnitFolder& folder, const SystemdUser& user)
      : _files(files), _folder(folder), _user(user) {}

  // Has systemd run the job of the file `plist`, for the logins to come too when asked so. A job that is not
  // enabled is refused otherwise: loading anew what was edited does not switch on what is off.
  //
  // What a job missed while it was not loaded is not made up. A job that is loaded as it stands is left alone.
  Expected<Done, JobError> load(const std::string& plist, Persistence persistence) const;
  // Stops the job and its times; with futureLogins its units are removed, too. A job that is not loaded is no
  // error. Neither is a file that is gone, or no job any more, if a job was made from it: that one is meant.
  Expected<Done, JobError> unload(const std::string& plist, Persistence persistence) const;

  // "PID\tStatus\tLabel", and a line for each job that is loaded.
  Expected<std::string, JobError> list() const;
  // The same with the line of one job; an error when it is not loaded.
  Expected<std::string, JobError> list(const std::string& label) const;
  // What is known of a loaded job: "Label", "ProgramArguments", "LastExitStatus", "PID" while it runs, "LastRun"
  // and "NextRun" of a job with times.
  Expected<Dictionary, JobError> info(const std::string& label) const;

 private:
  // The units of one job as systemd has them.
  struct JobState {
    UnitState service;
    UnitState timer;

    bool isLoaded() const;
    bool isEnabled() const { return service.isEnabled() || timer.isEnabled(); }
  };

  Expected<JobState, JobError> stateOf(const std::string& label) const;
  Expected<JobState, JobError> loadedState(const std::string& label) const;
  Expected<Dictionary, JobError> readJob(const std::string& plist) const;
  Expected<std::vector<std::string>, JobError> labelsOf(const std::string& plist) const;
  Expected<Done, JobError> unloadJob(const std::string& label, Persistence persistence) const;
  bool isOurs(const UnitState& unit) const;
  bool isInForce(const std::vector<UnitFile>& units, const JobState& state) const;
  Expected<Done, JobError> takeBack(const std::vector<UnitFile>& units, const JobState& state) const;
  Expected<Done, JobError> bringIntoForce(const std::vector<UnitFile>& units) const;
  Expected<Done, JobError> remove(const JobState& state) const;

  const FileManager& _files;
  const UnitFolder& _folder;
  const SystemdUser& _user;
};

}  // namespace zpk
