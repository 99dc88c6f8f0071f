#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace zpk {

// Gives a user copies of the helper's logs: puts them into `folder`, which must be that user's own, as files that
// are the user's.
//
// The helper may be root and the folder anywhere that the user can write, so nothing is decided by path: the folder
// is opened without following a link, checked through its descriptor (the user's, and not writable by everybody),
// and files are made in it new, never opened or followed. A log that is not there is passed over, and one that
// cannot be copied keeps no other from being copied. Gives nothing when all went well, else what first did not, for
// the log. Any thread; a folder on a dead network share may hold it for long.
std::string collectLogs(const std::vector<std::string>& logs, const std::string& folder, uid_t user);

}  // namespace zpk
