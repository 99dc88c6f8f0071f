#include "platform/qt/QtRunLoop.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QEventLoop>
#include <QSocketNotifier>
#include <QThread>
#include <utility>

namespace zpk {

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
  _alarms.perform(delay, std::move(callback));
}

Token QtRunLoop::scheduledTimer(Seconds period, Callback callback) {
  return isMainThread() ? _alarms.schedule(period, std::move(callback)) : Token();
}

void QtRunLoop::armTimer() {
  const auto next = _alarms.earliest();
  if (!next || currentMode() != kDefaultRunLoopMode) return _timer.stop();
  // Starting it also lets it fire inside its own callback, when that runs the loop.
  _timer.start(wholeMilliseconds(*next - now()));
}

void QtRunLoop::serveEarliestAlarm() {
  if (currentMode() != kDefaultRunLoopMode) return;
  if (!_alarms.isDue()) return armTimer();
  ++_servedCount;
  _alarms.serveEarliest();
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
  deadline.start(wholeMilliseconds(duration));
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
  deadline.start(wholeMilliseconds(atMost));
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
