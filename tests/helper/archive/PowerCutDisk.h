#pragma once

#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "helper/archive/CallRecorder.h"

namespace zpk::test {

// A folder with its files as a power cut may leave them.
//
// It begins with a folder that is durable. Of what was called since then, all that was synced is there. Of the
// rest: any sector of any write, or none; any change of a size, any hole; of the changes of a folder's names any
// number of the first. Nothing is assumed about the order between files, as there is none without a sync.
class PowerCutDisk {
 public:
  explicit PowerCutDisk(const std::string& folder);

  // Puts the folder as it was at the beginning to `path`, where nothing is yet.
  void putBegin(const std::string& path) const { put(_begin, _root, path); }

  // Puts what is left after the first `count` calls to `path`, where nothing is yet. `share` of what was not synced
  // has reached the disk.
  void leave(const std::vector<Call>& calls, std::size_t count, double share, std::mt19937& random,
             const std::string& path) const;

 private:
  using Id = std::uint64_t;
  using Names = std::map<std::string, Id>;

  struct State {
    std::map<Id, Names> folders;
    std::map<Id, ByteBuffer> files;
  };
  struct Step {
    const Call* call;
    Id file;
    Id folder;
    Id newFolder;
    bool isDurable = false;
  };

  Id take(const std::string& path);
  std::vector<Step> stepsOf(const std::vector<Call>& calls, std::size_t count) const;
  static void applyNames(State& state, const std::vector<Step>& steps, double share, std::mt19937& random);
  static void applyContents(State& state, const std::vector<Step>& steps, double share, std::mt19937& random);
  static void put(const State& state, Id folder, const std::string& path);

  State _begin;
  std::map<std::uint64_t, Id> _ids;  // By inode.
  Id _root = 0;
};

}  // namespace zpk::test
