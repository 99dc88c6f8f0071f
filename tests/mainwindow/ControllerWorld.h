#pragma once

#include <array>
#include <chrono>
#include <cmath>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "helperlink/LinkWorld.h"
#include "mainwindow/ZPKUIDaemonController.h"
#include "support/MemoryFileManager.h"
#include "support/ScriptedTaskRunner.h"
#include "support/StatusBuilder.h"

namespace zpk {

// A picture known by its name alone.
struct NamedImage final : Image {
  explicit NamedImage(std::string text) : name(std::move(text)) {}
  std::string name;
};

inline std::string nameOf(const std::shared_ptr<const Image>& image) {
  const auto* named = dynamic_cast<const NamedImage*>(image.get());
  return named ? named->name : "";
}

// Pictures named after their file, counting the loads. Without files none loads.
struct NamedImages final : ImageLoader {
  std::shared_ptr<const Image> imageFromFile(std::string_view path) const override {
    ++loads;
    if (!haveFiles) return nullptr;
    return std::make_shared<NamedImage>(std::string(path));
  }
  bool haveFiles = true;
  mutable std::size_t loads = 0;
};

struct FakeWorkspace final : Workspace {
  std::shared_ptr<const Image> iconForFileType(std::string_view fileType) override {
    auto& icon = icons[std::string(fileType)];
    if (!icon) icon = std::make_shared<NamedImage>("type " + std::string(fileType));
    return icon;
  }
  bool openFile(std::string_view) override { return false; }
  bool revealFile(std::string_view) override { return false; }
  bool launchApplication(std::string_view, const std::vector<std::string>&) override { return false; }

  std::map<std::string, std::shared_ptr<const Image>> icons;
};

// "day 19675" for any time of that day; with `calendar` the day as people write it.
struct DayFormatter final : DateFormatter {
  std::string stringFromDate(const Date& date) const override {
    const double days = date.secondsSince1970 / 86'400;
    if (!(std::abs(days) < 1e6)) return "no day";
    const auto day = static_cast<std::int32_t>(days);
    if (!calendar) return "day " + std::to_string(day);
    static constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                              "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const std::chrono::year_month_day written{std::chrono::sys_days{std::chrono::days{day}}};
    return std::to_string(static_cast<unsigned>(written.day())) + " " +
           kMonths[static_cast<unsigned>(written.month()) - 1] + " " +
           std::to_string(static_cast<int>(written.year()));
  }
  void setTimeZoneForSecondsFromGMT(std::int32_t) override {}
  std::array<std::string, 7> standaloneWeekdaySymbols() const override { return {}; }
  bool calendar = false;
};

// English, or another language once there is one, but for the texts it was given a translation of.
struct SomeTranslations final : Localization {
  std::string localizedString(std::string_view key) const override {
    const auto text = texts.find(key);
    if (text != texts.end()) return text->second;
    return language ? language->localizedString(key) : std::string(key);
  }
  const Localization* language = nullptr;
  std::map<std::string, std::string, std::less<>> texts;
};

// Keeps the order of what was begun and ended; shows nothing.
struct RecordingPresenter final : SheetPresenter {
  void beginSheet(const SheetWindow& window) override {
    ++begun;
    shown = window;
  }
  void endSheet(const SheetWindow& window) override {
    ++ended;
    lastEnded = window;
    shown = std::monostate();
  }
  template <class T>
  std::shared_ptr<T> shownAs() const {
    const auto* sheet = std::get_if<std::shared_ptr<T>>(&shown);
    return sheet ? *sheet : nullptr;
  }

  SheetWindow shown;
  SheetWindow lastEnded;
  int begun = 0;
  int ended = 0;
};

// The main window's controller with a helper at the other end and no window.
struct ControllerWorld : LinkWorld {
  NamedImages images;
  FakeWorkspace workspace;
  MemoryFileManager files;
  DayFormatter dates;
  SomeTranslations texts;
  RecordingPresenter sheets;
  // The job launcher's tool: every run of it succeeds unless a test says otherwise.
  ScriptedTaskRunner::Script launchctl = [](const TaskDescription&) { return TaskResult{}; };
  ScriptedTaskRunner tasks{[this](const TaskDescription& task) { return launchctl(task); }};
  std::unique_ptr<ZPKDaemon> daemon;
  std::shared_ptr<ZPKUIDaemonController> controller = std::make_shared<ZPKUIDaemonController>(
      ZPKDaemonControllerEnvironment{transport, notificationCenter, loop,
                                     [this]() -> ZPKDaemon& {
                                       if (!daemon) daemon = std::make_unique<ZPKDaemon>(environment());
                                       return *daemon;
                                     }},
      ZPKUIDaemonControllerEnvironment{texts, files, workspace, images, dates, log, tasks});

  ControllerWorld() {
    controller->setMainWindow(&sheets);
    controller->awakeFromNib();
  }
  ~ControllerWorld() {
    controller.reset();
    // A check of the status-bar agent that is still to come keeps the controller; it must not outlive the link.
    loop.advance(Seconds(0.1));
  }

  // The application has launched with a helper there; what that took is forgotten.
  void launch() {
    transport.helperAppears();
    notificationCenter.postNotificationName(kApplicationDidFinishLaunchingNotification);
    loop.turn();
    helper().forgetCalls();
    log.clear();
  }
  void push(const Dictionary& status) {
    transport.push(status);
    loop.turn();
  }
};

}  // namespace zpk
