#pragma once

#include "helper/archive/ChunkMap.h"
#include "helper/archive/DiskSpan.h"
#include "helper/archive/ParentHashes.h"
#include "helper/archive/Qcow2Writer.h"

namespace zpk {

// Where the chunks of one disk go: into an image and its map. With a parent, the image gets only what differs from
// it, and zeros that hide what the parent has where this disk has nothing; the map always names the whole content.
//
// Image, map and parent are the caller's and outlive it. One thread.
class ChunkSink {
 public:
  ChunkSink(Qcow2Writer& image, ChunkMapWriter& map, ParentHashes* parent = nullptr)
      : _image(image), _map(map), _parent(parent) {}

  // In ascending order of chunks.
  ArchiveResult<Done> add(const SpanChunk& chunk);
  // After the last chunk.
  ArchiveResult<Done> endOfDisk() { return hideParent(UINT64_MAX); }

  std::uint64_t chunkSize() const { return _image.clusterSize(); }
  ParentHashes* parent() const { return _parent; }
  // What the image got that the parent does not have, before compression.
  std::uint64_t storedBytes() const { return _stored * chunkSize(); }

 private:
  ArchiveResult<Done> store(const SpanChunk& chunk);
  // What the parent has between the last chunk and `end` is not there any more.
  ArchiveResult<Done> hideParent(std::uint64_t end);

  Qcow2Writer& _image;
  ChunkMapWriter& _map;
  ParentHashes* _parent;
  std::uint64_t _next = 0;  // Behind the last chunk.
  std::uint64_t _stored = 0;
};

}  // namespace zpk
