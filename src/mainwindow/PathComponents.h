#pragma once

#include <string>
#include <string_view>

namespace zpk {

// The last component of a path without its extension: "/etc/agents/a.b.plist" gives "a.b". A leading point begins
// no extension.
std::string nameWithoutExtension(std::string_view path);

// What the archive at that path is called on the screen: "/backups/Office PC.rldbackup" gives "Office PC".
std::string archiveDisplayName(std::string_view path);

// The folder in which an archive lives: the path without its last component. "/backups/a.rldbackup" gives
// "/backups", "/a.rldbackup" gives "/", a bare name gives the empty text.
std::string archiveLocation(std::string_view path);

}  // namespace zpk
