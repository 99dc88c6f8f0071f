#pragma once

#include "tools/zpkctl/Console.h"
#include "tools/zpkctl/HelperSession.h"
#include "tools/zpkctl/Maintenance.h"

namespace zpk::ctl {

// Each does one command with a session that is connected, says what came of it, and returns the exit status: 0 when
// it is done, 1 when it is not, 3 when it is done and something is amiss with it. After an interruption the status
// is the caller's to choose.

inline constexpr int kDone = 0;
inline constexpr int kNotDone = 1;
inline constexpr int kIncomplete = 3;

// Starts a backup and waits for its end. Waits half a minute for a helper that is busy with something else.
int runBackup(HelperSession& session, Console& console);

// Stops the operation that runs, whoever began it, and waits until it has stopped.
int runStop(HelperSession& session, Console& console);

enum class Form { words, json };
// What is backed up where, and what is being done.
int runStatus(HelperSession& session, Console& console, Form form);
// The backup points, oldest first, and when each was last checked. A helper that does not tell of checks is no
// reason to show no points.
int runList(HelperSession& session, Maintenance& maintenance, Console& console, Form form);

// Has all backup points read back, waits for the end and tells what is damaged: done only when nothing is.
int runVerify(HelperSession& session, Maintenance& maintenance, Console& console, Form form);

}  // namespace zpk::ctl
