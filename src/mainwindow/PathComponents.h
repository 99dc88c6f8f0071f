#pragma once

#include <string>
#include <string_view>

namespace zpk {

// The last component of an archive's path without its extension, as the archive is called on the screen:
// "/backups/Office PC.rldbackup" gives "Office PC". A leading point begins no extension.
std::string archiveDisplayName(std::string_view path);

// The folder in which an archive lives: the path without its last component. "/backups/a.rldbackup" gives
// "/backups", "/a.rldbackup" gives "/", a bare name gives the empty text.
std::string archiveLocation(std::string_view path);

}  // namespace zpk
