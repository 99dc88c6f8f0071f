#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "helper/archive/PointIndex.h"

namespace zpk {

// What the engine says, in words for people.

// The engine's sentence, with its full stop.
std::string sentenceOf(const ArchiveError& error);

// The same, and what to do about it when what was lost is the archive's own: `advice`, one or more sentences, is
// for an archive at that path, or the drive that it is on, that does not give back what was written.
std::string sentenceOf(const ArchiveError& error, const std::string& archivePath, const std::string& advice);
bool isLossOf(const std::string& archivePath, const ArchiveError& error);

// "1 unreadable sector", "12 unreadable sectors"
std::string sectorsText(std::uint64_t count);

// What a backup point does not hold because it could not be read, one line a range, and how much more there is.
std::vector<std::string> unreadableLines(const PointIndex& point);

// "1 h 02 min", "2 min 05 s", "7 s"
std::string durationText(double seconds);

// "2026-11-20 13:45", where people here are; `time` in seconds since 1970.
std::string momentText(std::int64_t time);

}  // namespace zpk
