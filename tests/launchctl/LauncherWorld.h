#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "FakeUserManager.h"
#include "base/PropertyList.h"
#include "platform/posix/FileManager_posix.h"
#include "support/TemporaryFolder.h"
#include "tools/launchctl/Launcher.h"

namespace zpk {

// A launcher with a manager that is none, and a folder for job files.
struct LauncherWorld {
  static constexpr auto kNow = Launcher::Persistence::presentLogin;
  static constexpr auto kAlways = Launcher::Persistence::futureLogins;

  TemporaryFolder home;
  PosixFileManager files;
  UnitFolder folder{home.path("data/systemd/user")};
  FakeUserManager manager{folder};
  SystemdUser user{manager.tasks()};
  Launcher launcher{files, folder, user};

  static Dictionary timedJob(int hour = 12) {
    return {{"Label", "a.b"},
            {"ProgramArguments", Array{"/bin/sh", "backup"}},
            {"KeepAlive", false},
            {"RunAtLoad", false},
            {"StartCalendarInterval", Dictionary{{"Minute", 0}, {"Hour", hour}}}};
  }
  static Dictionary agentJob() {
    return {{"Label", "a.b"}, {"ProgramArguments", Array{"/bin/true"}}, {"RunAtLoad", true}};
  }

  // Writes the job file and gives its path.
  std::string put(const Dictionary& job, const std::string& name = "job.plist") const {
    const auto xml = writeXMLPropertyList(job);
    home.put(name, std::string(xml->begin(), xml->end()));
    return home.path(name);
  }
  std::string load(const Dictionary& job, Launcher::Persistence persistence,
                   const std::string& name = "job.plist") const {
    return outcome(launcher.load(put(job, name), persistence));
  }
  std::string unload(Launcher::Persistence persistence, const std::string& name = "job.plist") const {
    return outcome(launcher.unload(home.path(name), persistence));
  }
  static std::string outcome(const Expected<Done, JobError>& done) { return done ? "done" : done.error().reason; }
  bool has(std::string_view unit) const { return folder.contents(unit).has_value(); }
};

}  // namespace zpk
