#pragma once

namespace zpk {

// Whether the desktop has a status bar that shows icons now: one that takes them over the session bus, as its
// watcher there says. Waits half a second for the answer at the most. Main thread, before the first icon is made.
//
// To be asked until there is one, or the patience is over, and before the toolkit is: that looks once in a process,
// and when it was too early, icons never go over the bus.
bool isStatusBarHostRegistered();

}  // namespace zpk
