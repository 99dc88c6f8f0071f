#include "base/AlarmQueue.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace zpk {
namespace {

// A timer without a period would leave the loop nothing but its own firing.
constexpr Seconds kShortestPeriod{0.001};

// Not before now, and a number.
Seconds usableDelay(Seconds delay) {
  return delay.count() > 0 ? delay : Seconds(0);
}

}  // namespace

// A delayed perform (no period) or a timer.
struct AlarmQueue::Alarm {
  Callback callback;
  Seconds period{0};
  bool ended = false;
};

AlarmQueue::AlarmQueue(std::function<Seconds()> clock, std::function<void()> changed)
    : _clock(std::move(clock)), _changed(std::move(changed)), _self(std::make_shared<AlarmQueue*>(this)) {}

AlarmQueue::~AlarmQueue() {
  // First: what the callbacks hold may end timers as it goes.
  _self.reset();
}

void AlarmQueue::perform(Seconds delay, Callback callback) {
  add(std::make_shared<Alarm>(Alarm{std::move(callback)}), _clock() + usableDelay(delay));
}

Token AlarmQueue::schedule(Seconds period, Callback callback) {
  const Seconds usable = std::max(usableDelay(period), kShortestPeriod);
  const auto alarm = std::make_shared<Alarm>(Alarm{std::move(callback), usable});
  add(alarm, _clock() + usable);
  return Token([self = std::weak_ptr(_self), weak = std::weak_ptr(alarm)] {
    const auto queue = self.lock();
    const auto ending = weak.lock();
    if (queue && ending) (*queue)->end(ending);
  });
}

std::optional<Seconds> AlarmQueue::earliest() const {
  if (_alarms.empty()) return std::nullopt;
  return _alarms.begin()->first.first;
}

bool AlarmQueue::isDue() const {
  const auto due = earliest();
  return due && *due <= _clock();
}

bool AlarmQueue::serveEarliest() {
  if (!isDue()) return false;
  const auto earliest = _alarms.begin();
  const Seconds due = earliest->first.first;
  const std::shared_ptr<Alarm> alarm = std::move(earliest->second);
  _alarms.erase(earliest);
  tellChanged();

  const auto self = std::weak_ptr(_self);
  alarm->callback();
  if (self.expired() || alarm->ended || alarm->period.count() == 0) return true;
  // The next of its times that is still to come.
  const double passed = std::max(0.0, std::floor((_clock() - due) / alarm->period));
  add(alarm, due + alarm->period * (passed + 1));
  return true;
}

void AlarmQueue::add(std::shared_ptr<Alarm> alarm, Seconds due) {
  _alarms.emplace(Key(due, _nextOrder++), std::move(alarm));
  tellChanged();
}

void AlarmQueue::end(const std::shared_ptr<Alarm>& alarm) {
  alarm->ended = true;
  std::erase_if(_alarms, [&](const auto& entry) { return entry.second == alarm; });
  tellChanged();
}

void AlarmQueue::tellChanged() const {
  if (_changed) _changed();
}

int wholeMilliseconds(Seconds duration) {
  const double milliseconds = std::ceil(duration.count() * 1000);
  if (!(milliseconds > 0)) return 0;
  constexpr int kLongest = std::numeric_limits<int>::max();
  return milliseconds < kLongest ? static_cast<int>(milliseconds) : kLongest;
}

}  // namespace zpk
