#pragma once

#include <sys/types.h>

#include <cstdint>
#include <span>
#include <string_view>

#include "base/Expected.h"
#include "base/FileManager.h"

namespace zpk {

// Replaces a file's content as a whole. Any thread, any number of processes at once.
//
// A crash, a kill, a full disk or any other failure at any moment leaves either the old file or the new one, never
// a mixture and never nothing. After Done the new content survives a power cut. After an error the old file is
// still there, with one exception: when only the last step failed, the sync of the folder, the new file is in
// place, but may be gone again after a power cut.
//
// The new file belongs to the calling user and has exactly the permissions `mode`, whatever the umask. A symbolic
// link in the file's place is replaced, not followed; links on the way to its folder are followed. Only a kill
// leaves the temporary file behind (".zpk-save-" and 16 hexadecimal digits, beside the file); the next save into
// the same folder removes it.
class AtomicSaver {
 public:
  // Saves to a path.
  static Expected<Done, FileError> save(std::string_view path, std::span<const std::uint8_t> content,
                                        mode_t mode = 0600);

  // Saves to `name`, a plain name, in the folder that is open as `folder` (for reading), which stays the caller's.
  static Expected<Done, FileError> saveAt(int folder, std::string_view name, std::span<const std::uint8_t> content,
                                          mode_t mode = 0600);
};

}  // namespace zpk
