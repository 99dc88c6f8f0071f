#include "helper/archive/TableChange.h"

#include <algorithm>

#include "helper/archive/GptTable.h"
#include "helper/process/ToolRunner.h"

namespace zpk {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ZPK_RESERVES_ADDRESSES 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ZPK_RESERVES_ADDRESSES 1
#endif
#endif
#ifdef ZPK_RESERVES_ADDRESSES
constexpr std::uint64_t programMemory = UINT64_MAX;  // The sanitizers' shadow alone takes terabytes of addresses.
#else
constexpr std::uint64_t programMemory = std::uint64_t{512} << 20U;
#endif

std::optional<GptTable> storedTable(PointDisk& source) {
  ArchiveResult<GptTable> table = readGptTable(
      [&source](std::uint64_t offset, std::span<std::byte> bytes) { return source.read(offset, bytes); },
      source.size(), source.description().sectorSize);
  return table ? std::optional(std::move(*table)) : std::nullopt;
}

ArchiveResult<Done> runProgram(const std::string& program, const TableEdit& edit, const RestoreTarget& target,
                               const CancelFlag& cancel) {
  // It writes through the descriptor that it is handed, and needs no right of its own for it.
  ToolCommand command{program, argumentsOf(edit), {}, ToolAccess::ReadsOnly, {}};
  command.handed = target.descriptor();
  command.limits.memoryBytes = programMemory;
  const auto result = runTool(command, cancel);
  if (!result) return ArchiveError{ArchiveFault::ToolFailed, result.error().text(), {}, 0, 0};
  if (result->end == ToolEnd::Cancelled) return cancelledError();
  if (result->succeeded()) return Done{};
  std::string said = result->errors.substr(0, 300);
  while (said.ends_with('\n')) said.pop_back();
  return ArchiveError{edit.writes ? ArchiveFault::ToolFailed : ArchiveFault::Refused,
                      std::string("The partition table ") + (edit.writes ? "could not" : "cannot") +
                          " be changed (" + (said.empty() ? "the program ended without a reason" : said) + ")",
                      target.path(), 0, 0};
}

}  // namespace

TableEdit tableEditFor(const RestorePlan& plan, PointDisk& source, std::uint32_t sectorSize, bool takesIdentity) {
  TableEdit edit;
  edit.isNew = plan.use == TargetUse::WholeDisk;
  edit.sectorSize = sectorSize;
  const std::optional<GptTable> stored = storedTable(source);
  if (stored && takesIdentity) edit.diskId = textOfGuid(stored->diskId);
  for (const PlannedEntry& planned : plan.entries) {
    TableEditEntry entry{planned.place.start, planned.place.size(), textOfGuid(planned.type), "", 0, ""};
    if (!planned.stored) entry.name = "EFI System Partition";
    const auto number = planned.stored ? source.description().partitions[*planned.stored].number : 0;
    const auto isIt = [&](const GptEntry& other) { return other.number == number && other.type == planned.type; };
    if (stored && planned.stored) {
      const auto found = std::ranges::find_if(stored->entries, isIt);
      if (found != stored->entries.end()) {
        entry.attributes = found->attributes;
        entry.name = found->name;
        if (takesIdentity) entry.id = textOfGuid(found->id);
      }
    }
    edit.entries.push_back(std::move(entry));
  }
  return edit;
}

ArchiveResult<Done> checkTableEdit(const std::string& program, TableEdit edit, const RestoreTarget& target,
                                   const CancelFlag& cancel) {
  edit.writes = false;
  return runProgram(program, edit, target, cancel);
}

ArchiveResult<Done> writeTableEdit(const std::string& program, TableEdit edit, const RestoreTarget& target) {
  edit.writes = true;
  const CancelFlag never;
  return runProgram(program, edit, target, never);
}

}  // namespace zpk
