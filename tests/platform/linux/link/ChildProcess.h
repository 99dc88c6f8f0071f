#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace zpk::tests {

// A child of the test, killed when this goes, or when the test itself dies.
class ChildProcess {
 public:
  ChildProcess() = default;
  enum class Output { shown, dropped };
  explicit ChildProcess(const std::vector<std::string>& arguments, Output output = Output::shown);
  ChildProcess(ChildProcess&& other) noexcept;
  ChildProcess& operator=(ChildProcess&& other) noexcept;
  ~ChildProcess() { kill(); }

  // Sends SIGKILL and waits until the process is gone.
  void kill();
  // Sends SIGSTOP and waits until the process stands still.
  void stop() const;
  void resume() const;
  // Waits until it ended by itself.
  void join();

 private:
  pid_t _pid = -1;
};

}  // namespace zpk::tests
