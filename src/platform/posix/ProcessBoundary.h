#pragma once

#include <spawn.h>

#include <array>

namespace zpk {

// What keeps this process's descriptors out of the programs that it starts, which each system does in its own way.
// Any thread.

// A pipe whose ends (reading, writing) no such program inherits. False, with errno set, when there is none to be
// had.
bool openPipe(std::array<int, 2>& ends);

// Has a program that is started with these inherit the three standard streams and no other descriptor. `flags` are
// those of its attributes, which the caller sets. 0, or the error's number.
int inheritStandardStreamsOnly(posix_spawn_file_actions_t& actions, int& flags);

}  // namespace zpk
