#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/DateFormatter.h"
#include "base/Localization.h"
#include "helperlink/LinkWorld.h"
#include "support/StatusBuilder.h"
#include "tools/zpkstatusbar/StatusBarController.h"

namespace zpk {

// "at 12" for the twelfth second.
struct SecondDates final : DateFormatter {
  std::string stringFromDate(const Date& date) const override {
    return "at " + std::to_string(static_cast<std::int64_t>(date.secondsSince1970));
  }
  void setTimeZoneForSecondsFromGMT(std::int32_t) override {}
  std::array<std::string, 7> standaloneWeekdaySymbols() const override { return {}; }
};

// The status bar's controller in virtual time; no helper is there until a test lets one appear.
struct StatusBarWorld : LinkWorld {
  void launch() {
    controller.applicationDidFinishLaunching();
    loop.turn();
  }
  void helperIsThere(const Dictionary& status) {
    transport.helperAppears();
    launch();
    transport.push(status);
  }

  EnglishLocalization english;
  SecondDates dates;
  std::optional<ZPKDaemon> daemon;
  std::vector<std::pair<std::string, std::string>> refusals;
  StatusBarController controller{{transport, notificationCenter, loop,
                                  [this]() -> ZPKDaemon& {
                                    if (!daemon) daemon.emplace(environment());
                                    return *daemon;
                                  }},
                                 {english, dates, [this](const std::string& message, const std::string& advice) {
                                    refusals.emplace_back(message, advice);
                                  }}};
};

}  // namespace zpk
