#pragma once

#include <memory>
#include <optional>
#include <string>

#include "base/Value.h"
#include "records/RLDArchiveItem.h"

namespace zpk::ctl {

// A status in words, for a person, and as JSON, for programs. Pure functions; the keys are told in README.md and
// stay.

// The newest backup point of the status's archive; null when there is none.
std::shared_ptr<const RLDArchiveItem> newestPoint(const Dictionary& status);

std::string statusInWords(const Dictionary& status);
std::string statusAsJson(const Dictionary& status);

// The backup points of the status's archive, oldest first. `health` is what the helper tells of how they fared; of
// a point that is not in it nothing is said.
std::string pointsInWords(const Dictionary& status, const Dictionary& health);
std::string pointsAsJson(const Dictionary& status, const Dictionary& health);

// "2026-11-20 13:45", where people here are; "unknown" when there is none that can be written.
std::string dateInWords(const std::optional<Date>& date);
// "2026-11-20T12:45:00Z"
std::optional<std::string> dateForPrograms(const std::optional<Date>& date);

}  // namespace zpk::ctl
