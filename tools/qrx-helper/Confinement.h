#pragma once

namespace zpk {

// Takes away from this process, for good, all that a reader of a file system does not need: whatever a crafted
// volume makes of it, it can do no more than give wrong answers to who reads the volume.
//
// Afterwards it can read and write what is open already, take descriptors over a socket that is open already, and
// use memory. It can open, make, change or remove nothing, start nothing, reach no network and no other process,
// and gain no rights; system calls beyond those fail with EPERM. Memory is bounded and never becomes code. Each of
// the fences (seccomp, Landlock, capabilities, limits) stands on its own; one that the kernel does not have is left
// out.
//
// For a process with one thread.
void confineToOpenFiles();

// The fences one by one. The two that forbid something need no_new_privs, or the right to do without.
void limitResources();
void dropCapabilities();
void forbidFiles();        // Landlock
void forbidSystemCalls();  // seccomp

}  // namespace zpk
