#include "helper/archive/ImageFileUse.h"

#include <fcntl.h>
#include <signal.h>

#include <cerrno>

namespace zpk {
namespace {

// Whoever opens the file for writing while the lease lasts sends a signal, by default a deadly one.
bool leaseIsRefused(int file, int kind) {
  if (::fcntl(file, F_SETSIG, SIGURG) != 0) return false;
  if (::fcntl(file, F_SETLEASE, kind) != 0) return errno == EAGAIN || errno == EBUSY;
  ::fcntl(file, F_SETLEASE, F_UNLCK);
  return false;
}

// qemu's programs lock one byte for each right that they use, and a hundred bytes behind it one for each that they
// do not grant to others.
constexpr off_t firstRight = 100;
constexpr off_t rightToWrite = 101;
constexpr off_t allRights = 200;

bool qemuLocks(int file, off_t start, off_t size) {
  struct flock lock = {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = start;
  lock.l_len = size;
  return ::fcntl(file, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

bool setOwnLock(int file, short kind) {
  struct flock lock = {};
  lock.l_type = kind;
  lock.l_whence = SEEK_SET;
  lock.l_start = firstRight;
  lock.l_len = allRights;
  return ::fcntl(file, F_OFD_SETLK, &lock) == 0;
}

}  // namespace

bool keepOthersOut(const FileDescriptor& file) {
  // A file system without locks has none to look at either.
  return setOwnLock(file.get(), F_WRLCK) || (errno != EAGAIN && errno != EACCES);
}

void letOthersIn(const FileDescriptor& file) {
  setOwnLock(file.get(), F_UNLCK);
}

bool isOpenForWriting(const FileDescriptor& file) {
  return leaseIsRefused(file.get(), F_RDLCK) || qemuLocks(file.get(), rightToWrite, 1);
}

bool isOpenElsewhere(const FileDescriptor& file) {
  return leaseIsRefused(file.get(), F_WRLCK) || qemuLocks(file.get(), firstRight, allRights);
}

}  // namespace zpk
