#pragma once

#include <cstdint>
#include <string>

#include "base/Value.h"
#include "helperlink/StatusRecord.h"
#include "tools/zpkctl/HelperSession.h"

namespace zpk::ctl {

// What the helper tells, in plain words. Pure functions of a status.

// What the running operation is. Meaningful while the state is inProgress.
enum class Operation { backup, restore, merge, verification, unknown };
Operation operationOf(const Dictionary& status);

// "backing up", "restoring", "merging backup points", "checking backup points".
std::string operationName(Operation operation);

// "42 %, about 3 minutes left"; the time only when the helper has an estimate.
std::string progressWords(const Dictionary& status);

// Why a command is refused while the helper is in this state.
std::string busyWords(const Dictionary& status);

// Why a command was answered with this code, which is not success, by a helper in this state.
std::string codeWords(std::uint32_t code, const Dictionary& status);

// A wait that ended otherwise than hoped for, as a sentence. `what` is what was waited for: "the backup".
std::string waitFailure(HelperSession::Wait wait, const std::string& what);

}  // namespace zpk::ctl
