#pragma once

#include <functional>
#include <string>

#include "helper/archive/ChunkMap.h"
#include "helper/archive/Qcow2Reader.h"
#include "helper/archive/Qcow2Rewriter.h"

namespace zpk {

// The merge of one disk's image into the one that it builds on: the parent's image gets the child's clusters.
// One thread.
class ImageMerge {
 public:
  // `parent` is open for writing; `map` holds the child's hashes.
  static ArchiveResult<ImageMerge> open(OpenFile parent, OpenFile child, OpenFile map);

  // The most that the parent's image can grow by.
  static ArchiveResult<std::uint64_t> roomFor(const OpenFile& parent, const OpenFile& child);

  const std::string& name() const { return _name; }  // Of both files, within their folders.
  const std::string& backingFile() const { return _child.backingFile(); }
  std::uint64_t tablesPlace() const { return _parent.tablesPlace(); }
  std::uint64_t bytesToMove() const { return _bytesToMove; }

  // The parent's image reads as the child already; for how long is certain only after `switchOver`.
  void skipFolding() { _isFolded = true; }

  // Puts the child's clusters into the parent's image, each checked against its hash, and syncs; the image still
  // reads as before. `report` is called about four times for every MiB.
  ArchiveResult<Done> fold(const std::function<void(std::uint64_t done)>& report, const CancelFlag& cancel);
  // Now it reads as the child.
  ArchiveResult<Done> switchOver();
  void giveBack() { _parent.giveBack(); }
  void discard() { _parent.discard(); }

 private:
  ImageMerge(Qcow2Rewriter parent, Qcow2Reader child, ChunkMapReader map)
      : _parent(std::move(parent)), _child(std::move(child)), _map(std::move(map)) {}
  ArchiveResult<Done> countClusters();
  ArchiveResult<Done> moveCluster(std::uint64_t cluster, std::span<std::byte> content);

  Qcow2Rewriter _parent;
  Qcow2Reader _child;
  ChunkMapReader _map;
  std::string _name;
  std::string _childPath;
  std::uint64_t _bytesToMove = 0;
  bool _isFolded = false;
};

}  // namespace zpk
