#pragma once

#include <chrono>
#include <fstream>
#include <string>
#include <thread>

namespace zpk {

// Whether a process is there and no zombie.
inline bool isRunning(const std::string& process) {
  std::ifstream status("/proc/" + process + "/stat");
  std::string line;
  std::getline(status, line);
  const std::size_t state = line.rfind(')');
  return state != std::string::npos && line.at(state + 2) != 'Z';
}

// Waits for its end; false when that does not come.
inline bool ends(const std::string& process) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (isRunning(process) && std::chrono::steady_clock::now() < deadline) std::this_thread::yield();
  return !isRunning(process);
}

}  // namespace zpk
