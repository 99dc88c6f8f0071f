#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "helper/archive/Bytes.h"

// A program that links this has the calls replaced through which the archive engine changes files: each can be
// recorded, and be the last one that has an effect. Calls that change nothing are not touched.
namespace zpk::test {

// One call that had an effect. Files and folders are told by their inode.
struct Call {
  enum class Kind { Write, Resize, Punch, Sync, Create, MakeFolder, Rename, Unlink };

  Kind kind;
  std::uint64_t file = 0;    // Of all but Rename and Unlink.
  std::uint64_t offset = 0;  // The new size of Resize.
  std::uint64_t size = 0;    // Of Punch.
  ByteBuffer bytes{};
  std::uint64_t folder = 0;  // Of Create, MakeFolder, Rename and Unlink.
  std::string name{};
  std::uint64_t newFolder = 0;  // Of Rename.
  std::string newName{};
};

class CallRecorder {
 public:
  // Calls from now on are kept. A sync is never carried out, recorded or not: what it is good for is seen in the
  // record, and a kill takes nothing from the page cache.
  static void begin();
  static std::vector<Call> end();
  static std::size_t recorded();

  enum class Counts { AllCalls, Syncs };

  // After `count` more of them the process is as good as dead: of the next write a part is done, everything else
  // has no effect and fails. `revive` ends that. `seed` decides how large the part is.
  static void dieAfter(std::size_t count, unsigned seed, Counts counts = Counts::AllCalls);
  static bool isDead();
  static void revive();

  // The same, but the process is really killed at that call.
  static void killAfter(std::size_t count, unsigned seed);

  // Calls since the last `dieAfter`, `killAfter` or `revive`.
  static std::size_t counted();
};

}  // namespace zpk::test
