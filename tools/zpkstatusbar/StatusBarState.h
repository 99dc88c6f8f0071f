#pragma once

#include <QString>
#include <optional>

#include "base/DateFormatter.h"
#include "base/Localization.h"
#include "base/Value.h"

namespace zpk {

enum class StatusBarIcon {
  ready,      // the next backup can begin
  running,    // something is being done
  attention,  // the last backup failed
  away,       // no helper, or nothing that could be backed up now
};

// What the status bar shows.
struct StatusBarState {
  StatusBarIcon icon = StatusBarIcon::away;
  std::optional<int> percent;  // 0 to 100 while something runs
  QString text;                // one line, ready to be shown as plain text
  bool canBackUp = false;
  bool canStop = false;
  bool operator==(const StatusBarState&) const = default;
};

// What there is to be known. `status` is null before the first one.
struct StatusBarFacts {
  const Dictionary* status = nullptr;
  bool isHelperReachable = false;
  bool isStopping = false;  // what runs was asked to stop
};

// A pure function. Backing up over the points of another disk is not offered: it takes a question, which the window
// asks.
StatusBarState statusBarState(const StatusBarFacts& facts, const Localization& localization,
                              const DateFormatter& dates);

}  // namespace zpk
