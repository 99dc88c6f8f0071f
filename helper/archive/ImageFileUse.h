#pragma once

#include "platform/posix/FileDescriptor.h"

namespace zpk {

// Whether another program has the image file open for writing: a virtual machine that runs on it, or a loop device
// through which it is mounted. What is read of such a file is a mixture of moments, and the next one may be wrong.
//
// `file` is open for reading only. Asked in two ways, of which each may give no answer: by a read lease, which the
// kernel refuses while there is a writer (not to those who do not own the file, and not on network file systems),
// and by the locks that qemu's programs take, also across machines. So "no" means "as far as can be told".
bool isOpenForWriting(const FileDescriptor& file);

// Whether anything else has the file open at all, also for reading: an image that is attached must not be
// rewritten. Asked in the same two ways; any other descriptor of this process counts as well.
bool isOpenElsewhere(const FileDescriptor& file);

// Takes all of the locks that qemu's programs look at, so that none of them opens the file until the descriptor is
// closed. `file` is open for writing. False when one of them was quicker.
bool keepOthersOut(const FileDescriptor& file);
// Ends that.
void letOthersIn(const FileDescriptor& file);

}  // namespace zpk
