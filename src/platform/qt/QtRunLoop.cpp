#include "platform/qt/QtRunLoop.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QEventLoop>
#include <QSocketNotifier>
#include <QThread>
#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace zpk {
namespace {

// A timer without a period would leave the loop nothing but its own firing.
constexpr Seconds kShortestPeriod{0.001};

// Whole milliseconds, rounded up so that nothing runs early and the loop does not turn idly until the rest is over.
int timerMilliseconds(Seconds duration) {
  const double milliseconds = std::ceil(duration.count() * 1000);
  if (!(milliseconds > 0)) return 0;
  constexpr int kLongest = std::numeric_limits<int>::max();
  return milliseconds < kLongest ? static_cast<int>(milliseconds) : kLongest;
}

// Not before now, and a number.
Seconds usableDelay(Seconds delay) {
  return delay.count() > 0 ? delay : Seconds(0);
}

}  // namespace

// A delayed perform (no period) or a timer.
struct QtRunLoop::Alarm {
  Callback callback;
  Seconds period{0};
  bool ended = false;
};

struct QtRunLoop::Watch {
  std::unique_ptr<QSocketNotifier> notifier;
  std::function<void()> ready;
  bool ended = false;
};

// Makes a mode the current one while it lives.
class QtRunLoop::ModeScope {
 public:
  ModeScope(QtRunLoop& loop, std::string_view mode) : _loop(loop) {
    const bool wasDefault = isDefault();
    _loop._modes.emplace_back(mode);
    modeChanged(wasDefault);
  }
  ModeScope(const ModeScope&) = delete;
  ModeScope& operator=(const ModeScope&) = delete;
  ~ModeScope() {
    const bool wasDefault = isDefault();
    _loop._modes.pop_back();
    modeChanged(wasDefault);
  }

 private:
  bool isDefault() const { return _loop.currentMode() == kDefaultRunLoopMode; }

  void modeChanged(bool wasDefault) {
    _loop.armTimer();
    // Qt's dispatcher over GLib forgets about the input that it held back, until something else wakes it up.
    if (!wasDefault && isDefault()) QAbstractEventDispatcher::instance()->wakeUp();
  }

  QtRunLoop& _loop;
};

QtRunLoop::QtRunLoop() : _self(std::make_shared<QtRunLoop*>(this)) {
  _timer.setSingleShot(true);
  _timer.setTimerType(Qt::PreciseTimer);
  connect(&_timer, &QTimer::timeout, this, [this] { serveEarliestAlarm(); });
}

QtRunLoop::~QtRunLoop() {
  _self.reset();
}

Seconds QtRunLoop::now() const {
  return std::chrono::steady_clock::now().time_since_epoch();
}

std::string_view QtRunLoop::currentMode() const {
  return _modes.empty() ? kDefaultRunLoopMode : _modes.back();
}

bool QtRunLoop::isMainThread() const {
  return QThread::currentThread() == thread();
}

void QtRunLoop::performAfterDelay(Seconds delay, Callback callback) {
  if (!isMainThread()) return;
  auto alarm = std::make_shared<Alarm>();
  alarm->callback = std::move(callback);
  add(std::move(alarm), now() + usableDelay(delay));
}

Token QtRunLoop::scheduledTimer(Seconds period, Callback callback) {
  if (!isMainThread()) return {};
  auto alarm = std::make_shared<Alarm>();
  alarm->callback = std::move(callback);
  alarm->period = std::max(usableDelay(period), kShortestPeriod);
  add(alarm, now() + alarm->period);
  return Token([self = std::weak_ptr(_self), alarm = std::weak_ptr(alarm)] {
    const auto loop = self.lock();
    const auto ending = alarm.lock();
    if (!loop || !ending) return;
    ending->ended = true;
    std::erase_if((*loop)->_alarms, [&](const auto& entry) { return entry.second == ending; });
    (*loop)->armTimer();
  });
}

void QtRunLoop::add(std::shared_ptr<Alarm> alarm, Seconds due) {
  _alarms.emplace(AlarmKey(due, _nextOrder++), std::move(alarm));
  armTimer();
}

void QtRunLoop::armTimer() {
  if (_alarms.empty() || currentMode() != kDefaultRunLoopMode) {
    _timer.stop();
    return;
  }
  // Starting it also lets it fire inside its own callback, when that runs the loop.
  _timer.start(timerMilliseconds(_alarms.begin()->first.first - now()));
}

void QtRunLoop::serveEarliestAlarm() {
  if (_alarms.empty() || currentMode() != kDefaultRunLoopMode) return;
  const auto earliest = _alarms.begin();
  const Seconds due = earliest->first.first;
  if (due > now()) {
    armTimer();
    return;
  }
  const std::shared_ptr<Alarm> alarm = std::move(earliest->second);
  _alarms.erase(earliest);
  armTimer();
  ++_servedCount;

  const auto self = std::weak_ptr(_self);
  alarm->callback();
  if (self.expired() || alarm->ended || alarm->period.count() == 0) return;
  // The next of its times that is still to come; those that passed are not made up.
  const double passed = std::max(0.0, std::floor((now() - due) / alarm->period));
  add(alarm, due + alarm->period * (passed + 1));
}

void QtRunLoop::run() {
  const ModeScope scope(*this, kDefaultRunLoopMode);
  // Only the application's own run takes notice of quitting. Qt starts it just once at a time.
  if (_modes.size() == 1 && QThread::currentThread()->loopLevel() == 0) {
    _runs.push_back(nullptr);
    QCoreApplication::exec();
  } else {
    QEventLoop loop;
    _runs.push_back(&loop);
    loop.exec();
  }
  _runs.pop_back();
}

void QtRunLoop::runFor(Seconds duration) {
  const ModeScope scope(*this, kDefaultRunLoopMode);
  QEventLoop loop;
  QTimer deadline;
  deadline.setSingleShot(true);
  deadline.setTimerType(Qt::PreciseTimer);
  connect(&deadline, &QTimer::timeout, &loop, &QEventLoop::quit);
  deadline.start(timerMilliseconds(duration));
  _runs.push_back(&loop);
  loop.exec();
  _runs.pop_back();
}

void QtRunLoop::runInMode(std::string_view mode, Seconds atMost) {
  const ModeScope scope(*this, mode);
  const bool takesInput = mode == kDefaultRunLoopMode;
  const QEventLoop::ProcessEventsFlags kinds =
      takesInput ? QEventLoop::AllEvents : QEventLoop::ExcludeUserInputEvents;
  const std::uint64_t servedBefore = _servedCount;
  bool over = false;
  QTimer deadline;
  deadline.setSingleShot(true);
  deadline.setTimerType(Qt::PreciseTimer);
  connect(&deadline, &QTimer::timeout, &deadline, [&over] { over = true; });
  deadline.start(timerMilliseconds(atMost));
  QEventLoop loop;
  while (_servedCount == servedBefore && !over) loop.processEvents(kinds | QEventLoop::WaitForMoreEvents);
}

void QtRunLoop::stop() {
  if (isMainThread()) {
    stopInnermost();
  } else {
    QMetaObject::invokeMethod(
        this, [this] { stopInnermost(); }, Qt::QueuedConnection);
  }
}

void QtRunLoop::stopInnermost() {
  if (_runs.empty()) return;
  if (_runs.back() != nullptr) {
    _runs.back()->quit();
  } else {
    QCoreApplication::exit();
  }
}

Token QtRunLoop::watchFileDescriptor(int descriptor, Direction direction, std::function<void()> ready) {
  auto watch = std::make_shared<Watch>();
  watch->ready = std::move(ready);
  watch->notifier = std::make_unique<QSocketNotifier>(
      descriptor, direction == Direction::readable ? QSocketNotifier::Read : QSocketNotifier::Write);
  connect(watch->notifier.get(), &QSocketNotifier::activated, this, [this, weak = std::weak_ptr(watch)] {
    // Held here, since the callback may end its own watch.
    const std::shared_ptr<Watch> served = weak.lock();
    if (!served || served->ended) return;
    ++_servedCount;
    served->ready();
  });
  _watches.push_back(watch);
  return Token([self = std::weak_ptr(_self), weak = std::weak_ptr(watch)] {
    const auto loop = self.lock();
    const auto ending = weak.lock();
    if (loop && ending) (*loop)->endWatch(*ending);
  });
}

void QtRunLoop::endWatch(Watch& watch) {
  watch.ended = true;
  watch.notifier->setEnabled(false);
  // It may be the one that is being served.
  watch.notifier.release()->deleteLater();
  std::erase_if(_watches, [&](const auto& entry) { return entry.get() == &watch; });
}

}  // namespace zpk
