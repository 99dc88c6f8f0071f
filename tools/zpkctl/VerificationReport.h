#pragma once

#include <string>

#include "base/Value.h"

namespace zpk::ctl {

// What a check of the backup points found, in words and as JSON. Pure functions of what the helper tells.

// Whether the check went to its end and every point is sound.
bool isSound(const Dictionary& report);
std::string verificationInWords(const Dictionary& report);
std::string verificationAsJson(const Dictionary& report);

}  // namespace zpk::ctl
