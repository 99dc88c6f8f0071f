#include "helper/process/ServingTool.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <utility>

namespace zpk {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
constexpr milliseconds patience{500};

int millisecondsUntil(Clock::time_point end, milliseconds atMost) {
  const auto left = std::chrono::duration_cast<milliseconds>(end - Clock::now());
  return static_cast<int>(std::clamp(left, milliseconds(0), atMost).count());
}

// What there is to read now, as far as it is of interest.
std::string textIn(const FileDescriptor& stream) {
  std::array<char, 4096> buffer;
  ::fcntl(stream.get(), F_SETFL, O_NONBLOCK);
  const ssize_t count = uninterrupted([&] { return ::read(stream.get(), buffer.data(), buffer.size()); });
  std::string text(buffer.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
  while (!text.empty() && text.back() == '\n') text.pop_back();
  return text;
}

}  // namespace

Expected<ServingTool, ServingTool::NotReady> ServingTool::start(const ToolCommand& command,
                                                                const CancelFlag& cancel) {
  if (cancel.isRequested()) return NotReady{ToolEnd::Cancelled, 0, {}};
  auto started = startTool(command, SIGTERM);
  if (!started) return NotReady{ToolEnd::Exited, started.error().errorNumber, started.error().text()};
  ServingTool tool(std::move(*started));
  if (auto failure = tool.waitUntilReady(command.limits.wallClock, cancel)) return std::move(*failure);
  return tool;
}

std::optional<ServingTool::NotReady> ServingTool::waitUntilReady(milliseconds time, const CancelFlag& cancel) {
  const Clock::time_point deadline = Clock::now() + time;
  while (true) {
    std::array<pollfd, 2> waits = {pollfd{_tool.output.get(), POLLIN, 0}, pollfd{_tool.pidFd.get(), POLLIN, 0}};
    ::poll(waits.data(), waits.size(), millisecondsUntil(deadline, toolLookInterval));
    if (waits[1].revents != 0) return endedTooEarly();
    if ((waits[0].revents & POLLIN) != 0) return std::nullopt;
    // A tool that closed its output will never say that it is ready.
    if (waits[0].revents != 0 && endsWithin(toolLookInterval)) return endedTooEarly();
    if (cancel.isRequested()) return NotReady{ToolEnd::Cancelled, 0, {}};
    if (Clock::now() >= deadline) return NotReady{ToolEnd::TimedOut, 0, textIn(_tool.errors)};
  }
}

ServingTool::NotReady ServingTool::endedTooEarly() {
  const std::optional<int> status = endTool(std::exchange(_tool.pid, -1));
  const bool exited = status && WIFEXITED(*status);
  return {exited ? ToolEnd::Exited : ToolEnd::Signalled, 0, textIn(_tool.errors)};
}

ServingTool::ServingTool(ServingTool&& other) noexcept : _tool(std::move(other._tool)) {
  other._tool.pid = -1;
}

ServingTool::~ServingTool() {
  if (_tool.pid < 0) return;
  ::kill(_tool.pid, SIGTERM);
  endsWithin(patience);
  endTool(_tool.pid);
}

bool ServingTool::isRunning() const {
  return _tool.pid >= 0 && !endsWithin(milliseconds(0));
}

bool ServingTool::endsWithin(milliseconds time) const {
  const Clock::time_point deadline = Clock::now() + time;
  pollfd wait = {_tool.pidFd.get(), POLLIN, 0};
  return uninterrupted([&] { return ::poll(&wait, 1, millisecondsUntil(deadline, time)); }) > 0;
}

}  // namespace zpk
