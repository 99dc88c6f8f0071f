#include "platform/linux/link/ChildProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>
#include <utility>

namespace zpk::tests {

ChildProcess::ChildProcess(const std::vector<std::string>& arguments, Output output) {
  std::vector<char*> words;
  for (const std::string& argument : arguments) words.push_back(const_cast<char*>(argument.c_str()));
  words.push_back(nullptr);
  _pid = fork();
  if (_pid < 0) throw std::runtime_error("fork");
  if (_pid > 0) return;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (output == Output::dropped) {
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDOUT_FILENO);
    dup2(nowhere, STDERR_FILENO);
  }
  execvp(words[0], words.data());
  _exit(127);
}

ChildProcess::ChildProcess(ChildProcess&& other) noexcept : _pid(std::exchange(other._pid, -1)) {}

ChildProcess& ChildProcess::operator=(ChildProcess&& other) noexcept {
  if (this != &other) {
    kill();
    _pid = std::exchange(other._pid, -1);
  }
  return *this;
}

void ChildProcess::kill() {
  if (_pid <= 0) return;
  ::kill(_pid, SIGKILL);
  join();
}

void ChildProcess::stop() const {
  int status = 0;
  ::kill(_pid, SIGSTOP);
  waitpid(_pid, &status, WUNTRACED);
}

void ChildProcess::resume() const {
  ::kill(_pid, SIGCONT);
}

void ChildProcess::join() {
  int status = 0;
  waitpid(_pid, &status, 0);
  _pid = -1;
}

}  // namespace zpk::tests
