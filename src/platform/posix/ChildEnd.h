#pragma once

#include <sys/types.h>

#include <chrono>

namespace zpk {

// Waiting for a program with an eye on the clock, and ending one that takes too long. Any thread.

// How long at most the end of a program goes unseen by whoever looks again and again.
inline constexpr std::chrono::milliseconds kEndGoesUnseen{20};

// Whether `child` has ended. It is left to be waited for: until then its number, and with it that of its group,
// stays taken.
bool hasEnded(pid_t child);

// Asks the group of `child`, which is its own, to end, and kills it when `grace` is over; what is left of the group
// is killed in any case. False when `child` cannot even be killed, as on a dead disk, and is not to be waited for.
bool endGroupOf(pid_t child, std::chrono::milliseconds grace);

}  // namespace zpk
