#include "helper/archive/ChunkSink.h"

namespace zpk {

ArchiveResult<Done> ChunkSink::add(const SpanChunk& chunk) {
  ArchiveResult<Done> step = hideParent(chunk.index);
  if (step && !chunk.isInParent) step = store(chunk);
  if (step) step = _map.add(chunk.index, chunk.hash);
  _next = chunk.index + 1;
  return step;
}

ArchiveResult<Done> ChunkSink::store(const SpanChunk& chunk) {
  ++_stored;
  return chunk.isCompressed ? _image.addCompressed(chunk.index, chunk.content)
                            : _image.addPlain(chunk.index, chunk.content);
}

ArchiveResult<Done> ChunkSink::hideParent(std::uint64_t end) {
  if (_parent == nullptr) return Done{};
  for (auto gone = _parent->nextChunk(_next); gone && *gone < end; gone = _parent->nextChunk(*gone + 1)) {
    ArchiveResult<Done> hidden = _image.addZeros(*gone);
    if (!hidden) return hidden;
  }
  return Done{};
}

}  // namespace zpk
