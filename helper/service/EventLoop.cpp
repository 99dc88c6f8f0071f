#include "helper/service/EventLoop.h"

#include <sys/eventfd.h>
#include <csignal>

#include <algorithm>
#include <array>
#include <chrono>
#include <ctime>
#include <utility>

namespace zpk {
namespace {

// A callback that sd-event calls, alive until its token ends; never destroyed while it runs.
using Source = std::function<void()>;

int fire(const std::shared_ptr<Source>& kept) {
  // A copy on purpose: the callback may end its own token.
  // NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
  const std::shared_ptr<Source> running = kept;
  (*running)();
  return 0;
}

std::shared_ptr<Source>& sourceOf(void* data) {
  return *static_cast<std::shared_ptr<Source>*>(data);
}

int onTime(sd_event_source*, std::uint64_t, void* data) {
  return fire(sourceOf(data));
}
int onIo(sd_event_source*, int, std::uint32_t, void* data) {
  return fire(sourceOf(data));
}
int onSignalNumber(sd_event_source*, const struct signalfd_siginfo*, void* data) {
  return fire(sourceOf(data));
}

// `add` makes the sd-event source with the given callback data. Without memory for one there is nothing to run on.
template <class Add>
Token makeSource(std::function<void()> call, const Add& add) {
  auto* data = new std::shared_ptr<Source>(std::make_shared<Source>(std::move(call)));
  sd_event_source* source = nullptr;
  if (add(&source, data) < 0) {
    delete data;
    return Token();
  }
  return Token([source, data] {
    sd_event_source_disable_unref(source);
    delete data;
  });
}

}  // namespace

Expected<std::unique_ptr<EventLoop>, int> EventLoop::make() {
  sd_event* event = nullptr;
  if (const int error = sd_event_new(&event); error < 0) return -error;
  FileDescriptor wake(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  if (!wake) {
    sd_event_unref(event);
    return errno;
  }
  return std::unique_ptr<EventLoop>(new EventLoop(event, std::move(wake)));
}

EventLoop::EventLoop(sd_event* event, FileDescriptor wake) : _event(event), _wake(std::move(wake)) {
  _wakeWatch = watch(_wake.get(), EPOLLIN, [this] { runQueued(); });
}

EventLoop::~EventLoop() {
  _wakeWatch.reset();
  sd_event_unref(_event);
}

void EventLoop::async(std::function<void()> work) {
  {
    const std::lock_guard lock(_mutex);
    _queue.push_back(std::move(work));
  }
  eventfd_write(_wake.get(), 1);
}

void EventLoop::runQueued() {
  eventfd_t count = 0;
  eventfd_read(_wake.get(), &count);
  std::vector<std::function<void()>> queue;
  {
    const std::lock_guard lock(_mutex);
    queue.swap(_queue);
  }
  for (auto& work : queue) std::exchange(work, nullptr)();
}

Seconds EventLoop::now() const {
  return std::chrono::steady_clock::now().time_since_epoch();
}

Date EventLoop::date() const {
  return Date{Seconds(std::chrono::system_clock::now().time_since_epoch()).count()};
}

std::string EventLoop::timeOfDay() const {
  const std::time_t time = std::time(nullptr);
  std::tm parts{};
  localtime_r(&time, &parts);
  std::array<char, 16> text{};
  const std::size_t length = std::strftime(text.data(), text.size(), "%H:%M:%S", &parts);
  return std::string(text.data(), length);
}

Token EventLoop::after(Seconds delay, std::function<void()> alarm) {
  const double microseconds = std::max(0.0, delay.count()) * 1e6;
  return makeSource(std::move(alarm), [&](sd_event_source** source, void* data) {
    return sd_event_add_time_relative(_event, source, CLOCK_MONOTONIC, static_cast<std::uint64_t>(microseconds),
                                      1000, onTime, data);
  });
}

Token EventLoop::watch(int descriptor, std::uint32_t events, std::function<void()> ready) {
  return makeSource(std::move(ready), [&](sd_event_source** source, void* data) {
    return sd_event_add_io(_event, source, descriptor, events, onIo, data);
  });
}

Token EventLoop::onSignal(int signal, std::function<void()> arrived) {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, signal);
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
  return makeSource(std::move(arrived), [&](sd_event_source** source, void* data) {
    return sd_event_add_signal(_event, source, signal, onSignalNumber, data);
  });
}

int EventLoop::run() {
  return sd_event_loop(_event);
}

void EventLoop::stop(int exitStatus) {
  sd_event_exit(_event, exitStatus);
}

}  // namespace zpk
