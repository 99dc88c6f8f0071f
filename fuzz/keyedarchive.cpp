// Keyed archives from anywhere: what can be read can be written, what was written reads back the same, and whatever
// the program does with a record that came in, it survives.

#include <cstdio>
#include <cstdlib>

#include "base/KeyedArchive.h"
#include "records/RecordClasses.h"
#include "records/ZPKArchive.h"
#include "records/ZPKDisk.h"

namespace {

using zpk::Bytes;
using zpk::Value;

void require(bool condition, const char* property) {
  if (condition) return;
  std::fprintf(stderr, "violated: %s\n", property);
  std::abort();
}

void useDisk(const zpk::RLDDisk& disk) {
  const zpk::EnglishLocalization english;
  disk.description(english);
  const auto analysed = zpk::ZPKDisk::diskWithDisk(disk);
  if (!analysed) return;
  analysed->description(english);
  require(analysed->isRestoreTarget(), "every disk that is kept can be restored to");
  require(!(analysed->isBootCamp() && analysed->isEmpty()), "no disk is both Boot Camp and empty");
  require(analysed->countOfLegacyRestoreSlots() <= 4, "at most four slots");
  const auto windows = analysed->objectForKeyedSubscript("winPartition");
  require(!analysed->isBootCamp() || windows != nullptr, "a Boot Camp disk has a Windows partition");
}

// Does with every record in `value` what the program would.
void use(const Value& value) {
  if (const zpk::Array* array = value.array()) {
    for (const Value& element : *array) use(element);
  } else if (const zpk::Dictionary* dictionary = value.dictionary()) {
    for (const auto& [key, entry] : *dictionary) use(entry);
  } else if (const auto disk = value.recordOf<zpk::RLDDisk>()) {
    useDisk(*disk);
    // What it says of itself need not be true of its partitions.
    if (const auto analysed = value.recordOf<zpk::ZPKDisk>()) analysed->objectForKeyedSubscript("winPartition");
  } else if (const auto archive = value.recordOf<zpk::RLDArchive>()) {
    archive->description(zpk::EnglishLocalization());
    zpk::ZPKArchive::archiveWithRLDArchive(*archive);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto value = zpk::unarchivedValue(std::span(data, size), zpk::recordClasses());
  if (!value) return 0;
  use(*value);

  const Bytes written = zpk::archivedData(*value);
  // Absent keys of a record are written as null: that costs, but no more than a few times what came in.
  require(written.size() <= 4 * size, "what is written is not much larger than what was read");
  const auto copy = zpk::unarchivedValue(written, zpk::recordClasses());
  require(copy.hasValue(), "what was written can be read");
  // Not `*copy == *value`: a real that is not a number differs from itself.
  require(zpk::archivedData(*copy) == written, "what was read is written the same again");
  return 0;
}
