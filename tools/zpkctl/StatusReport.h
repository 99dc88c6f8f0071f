#pragma once

#include <string>

#include "base/Value.h"

namespace zpk::ctl {

// A status in words, for a person, and as JSON, for programs. Pure functions; the keys are told in README.md and
// stay.

std::string statusInWords(const Dictionary& status);
std::string statusAsJson(const Dictionary& status);

// The backup points of the status's archive, oldest first.
std::string pointsInWords(const Dictionary& status);
std::string pointsAsJson(const Dictionary& status);

}  // namespace zpk::ctl
