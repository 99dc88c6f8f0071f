#pragma once

#include <cstdint>
#include <functional>

#include "helper/archive/ChunkSink.h"
#include "helper/archive/DiskLayout.h"
#include "helper/archive/SourceReader.h"

namespace zpk {

// What one disk's image is made of and goes to. All of it is the caller's and outlives the call.
struct DiskImageJob {
  SourceReader& disk;
  const DiskLayout& layout;
  ChunkSink& sink;
  std::uint64_t hashSeed = 0;
};

// Called on the calling thread with the stored bytes that were read and written so far; never goes back.
using ImagedBytes = std::function<void(std::uint64_t bytes)>;

// Copies everything that the layout names from the disk into the sink, without finishing image and map.
//
// Several threads read, hash and compress one span each, and wait when too many spans are ahead of the writer; the
// calling thread writes the spans in their order. At most 24 spans exist, so the memory is bounded by about 50 MB
// whatever the size of the disk. The first error ends all of it; so does `cancel`, within one read.
ArchiveResult<Done> imageDisk(const DiskImageJob& job, const ImagedBytes& progress, const CancelFlag& cancel);

}  // namespace zpk
