#include "support/VirtualRunLoop.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace zpk {

namespace {

constexpr Seconds kOnce{0};
constexpr Seconds kDay{86400};
// What a busy program may do at one instant; beyond it, something asks for itself again and again.
constexpr int kMostEventsAtOneInstant = 100000;

bool inDefaultMode(std::string_view mode) {
  return mode == kDefaultRunLoopMode;
}

}  // namespace

struct VirtualRunLoop::Event {
  std::uint64_t id;
  Seconds due;
  Seconds period;
  ServedIn servedIn;
  Callback callback;
  bool running = false;
};

VirtualRunLoop::VirtualRunLoop()
    : _mainThread(std::this_thread::get_id()), _self(std::make_shared<VirtualRunLoop*>(this)) {}

VirtualRunLoop::~VirtualRunLoop() = default;

void VirtualRunLoop::advance(Seconds duration) {
  const Seconds end = _now + duration;
  do {
    runFor(end - _now);
  } while (_now < end);
}

void VirtualRunLoop::input(Seconds delay, Callback callback, std::vector<std::string> modes) {
  auto servedIn = [modes = std::move(modes)](std::string_view mode) {
    return std::find(modes.begin(), modes.end(), mode) != modes.end();
  };
  inputServedIn(delay, std::move(servedIn), std::move(callback));
}

void VirtualRunLoop::inputServedIn(Seconds delay, ServedIn servedIn, Callback callback) {
  add(delay, kOnce, std::move(servedIn), std::move(callback));
}

void VirtualRunLoop::performAfterDelay(Seconds delay, Callback callback) {
  if (isMainThread()) add(delay, kOnce, inDefaultMode, std::move(callback));
}

Token VirtualRunLoop::scheduledTimer(Seconds period, Callback callback) {
  if (period <= kOnce) throw std::logic_error("a timer without a period");
  const std::uint64_t id = add(period, period, inDefaultMode, std::move(callback));
  return Token([self = std::weak_ptr<VirtualRunLoop*>(_self), id] {
    if (const auto loop = self.lock()) (*loop)->remove(id);
  });
}

std::uint64_t VirtualRunLoop::add(Seconds delay, Seconds period, ServedIn servedIn, Callback callback) {
  const std::uint64_t id = _nextId++;
  _events.push_back(
      std::make_shared<Event>(Event{id, _now + delay, period, std::move(servedIn), std::move(callback)}));
  return id;
}

void VirtualRunLoop::remove(std::uint64_t id) {
  std::erase_if(_events, [id](const std::shared_ptr<Event>& event) { return event->id == id; });
}

std::shared_ptr<VirtualRunLoop::Event> VirtualRunLoop::nextEvent(std::string_view mode, Seconds end) const {
  std::shared_ptr<Event> next;
  for (const std::shared_ptr<Event>& event : _events) {
    // A timer does not fire again inside its own callback.
    if (event->running || event->due > end || !event->servedIn(mode)) continue;
    if (!next || std::pair(event->due, event->id) < std::pair(next->due, next->id)) next = event;
  }
  return next;
}

void VirtualRunLoop::serve(const std::shared_ptr<Event>& event) {
  _now = std::max(_now, event->due);
  if (event->period == kOnce) {
    remove(event->id);
    event->callback();
    return;
  }
  event->running = true;
  event->callback();
  event->running = false;
  while (event->due <= _now) event->due += event->period;
}

bool VirtualRunLoop::serveDefaultModeUntil(Seconds end) {
  const bool stopOfOuterRun = _stopRequested.exchange(false);
  _modes.emplace_back(kDefaultRunLoopMode);
  int servedAtThisInstant = 0;
  Seconds instant = _now;
  while (!_stopRequested) {
    const std::shared_ptr<Event> event = nextEvent(kDefaultRunLoopMode, end);
    if (!event) break;
    serve(event);
    servedAtThisInstant = _now == instant ? servedAtThisInstant + 1 : 0;
    instant = _now;
    if (servedAtThisInstant > kMostEventsAtOneInstant) throw std::logic_error("the run loop makes no headway");
  }
  _modes.pop_back();
  const bool stopped = _stopRequested.exchange(stopOfOuterRun);
  if (!stopped) _now = std::max(_now, end);
  return stopped;
}

void VirtualRunLoop::runFor(Seconds duration) {
  serveDefaultModeUntil(_now + duration);
}

void VirtualRunLoop::runInMode(std::string_view mode, Seconds atMost) {
  const Seconds end = _now + atMost;
  const std::shared_ptr<Event> event = nextEvent(mode, end);
  if (!event) {
    _now = end;
    return;
  }
  _modes.emplace_back(mode);
  serve(event);
  _modes.pop_back();
}

std::string_view VirtualRunLoop::currentMode() const {
  return _modes.empty() ? kDefaultRunLoopMode : std::string_view(_modes.back());
}

void VirtualRunLoop::run() {
  if (!serveDefaultModeUntil(_now + kDay))
    throw std::logic_error("the run loop ran for a day and nothing stopped it");
}

}  // namespace zpk
