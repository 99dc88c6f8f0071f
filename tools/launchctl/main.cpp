#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "base/PropertyList.h"
#include "platform/posix/FileManager_posix.h"
#include "platform/posix/TaskRunner_posix.h"
#include "tools/launchctl/Arguments.h"
#include "tools/launchctl/Launcher.h"

namespace {

using zpk::JobError;
using zpk::Launcher;
using zpk::LauncherCommand;

int fail(const std::string& reason) {
  std::fprintf(stderr, "launchctl: %s\n", reason.c_str());
  return 1;
}

int print(const zpk::Expected<std::string, JobError>& text) {
  if (!text) return fail(text.error().reason);
  const bool isWritten = std::fputs(text->c_str(), stdout) >= 0 && std::fflush(stdout) == 0;
  return isWritten ? 0 : fail("the output could not be written");
}

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

// Where the service manager looks for the units of the user's data. As it does, only an absolute path counts.
std::string unitFolder() {
  std::string data = environment("XDG_DATA_HOME");
  if (data.empty() || data.front() != '/') data = environment("HOME") + "/.local/share";
  return data + "/systemd/user";
}

int list(const Launcher& launcher, const LauncherCommand& command) {
  if (command.arguments.empty()) return print(launcher.list());
  if (!command.isPropertyList) return print(launcher.list(command.arguments.front()));
  const auto info = launcher.info(command.arguments.front());
  if (!info) return fail(info.error().reason);
  const auto bytes = zpk::writeXMLPropertyList(*info);
  if (!bytes) return fail(bytes.error().reason);
  return print(std::string(bytes->begin(), bytes->end()));
}

int loadOrUnload(const Launcher& launcher, const LauncherCommand& command) {
  const auto persistence =
      command.isPersistent ? Launcher::Persistence::futureLogins : Launcher::Persistence::presentLogin;
  int status = 0;
  for (const std::string& argument : command.arguments) {
    std::error_code error;
    const std::string path = std::filesystem::absolute(argument, error).lexically_normal().string();
    if (error) {
      status = fail(argument + ": " + error.message());
      continue;
    }
    const auto done = command.verb == LauncherCommand::Verb::load ? launcher.load(path, persistence)
                                                                  : launcher.unload(path, persistence);
    if (!done) status = fail(argument + ": " + done.error().reason);
  }
  return status;
}

int obey(const LauncherCommand& command) {
  if (environment("HOME").empty()) return fail("HOME is not set");
  // The service manager's tool prints times in the zone of its environment, which is this one.
  if (::setenv("TZ", "UTC", 1) != 0 || ::setenv("LC_ALL", "C.UTF-8", 1) != 0) return fail("no memory");
  const zpk::PosixFileManager files;
  const zpk::UnitFolder folder(unitFolder());
  zpk::PosixTaskRunner tasks;
  const zpk::SystemdUser user(tasks);
  const Launcher launcher(files, folder, user);
  return command.verb == LauncherCommand::Verb::list ? list(launcher, command) : loadOrUnload(launcher, command);
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
  const auto command = zpk::parseLauncherCommand(arguments);
  if (!command) {
    std::fputs(zpk::launcherHelp().c_str(), stderr);
    return 2;
  }
  switch (command->verb) {
    case LauncherCommand::Verb::help:
      return print(zpk::launcherHelp());
    case LauncherCommand::Verb::version:
      return print(std::string("launchctl " ZPK_VERSION "\n"));
    case LauncherCommand::Verb::list:
    case LauncherCommand::Verb::load:
    case LauncherCommand::Verb::unload:
      return obey(*command);
  }
  return 2;
}
