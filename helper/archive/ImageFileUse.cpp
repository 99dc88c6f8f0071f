#include "helper/archive/ImageFileUse.h"

#include <fcntl.h>
#include <signal.h>

#include <cerrno>

namespace zpk {
namespace {

// Whoever opens the file for writing while the lease lasts sends a signal, by default a deadly one.
bool leaseIsRefused(int file) {
  if (::fcntl(file, F_SETSIG, SIGURG) != 0) return false;
  if (::fcntl(file, F_SETLEASE, F_RDLCK) != 0) return errno == EAGAIN;
  ::fcntl(file, F_SETLEASE, F_UNLCK);
  return false;
}

// qemu's programs lock one byte for each right that they use; this one stands for the right to write.
bool qemuWrites(int file) {
  struct flock lock = {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = 101;
  lock.l_len = 1;
  return ::fcntl(file, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

}  // namespace

bool isOpenForWriting(const FileDescriptor& file) {
  return leaseIsRefused(file.get()) || qemuWrites(file.get());
}

}  // namespace zpk
