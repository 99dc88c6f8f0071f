#include "records/DiskAnalysis.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace zpk {

namespace {

// The partitioning schemes that make the analysis look at partition types.
constexpr std::int64_t kSchemeBit2 = 2;
constexpr std::int64_t kSchemeBit4 = 4;

struct LetterRow {
  char letter;
  TMBGPTType type;
  // Where the index of such a partition is recorded; empty for nowhere.
  std::string_view role;
};

constexpr std::array<LetterRow, 7> kLetters = {{
    {'e', TMBGPTType::EFISystem, ""},
    {'h', TMBGPTType::AppleHFSPlus, "hfsPartition"},
    {'c', TMBGPTType::AppleCoreStorage, ""},
    {'r', TMBGPTType::AppleBoot, "recoveryPartition"},
    {'m', TMBGPTType::MicrosoftReserved, "msrPartition"},
    {'w', TMBGPTType::MicrosoftBasicData, "winPartition"},
    {'o', TMBGPTType::WindowsRecovery, "winRecPartition"},
}};

constexpr std::array<LayoutRule, 5> kLayouts = {{
    {"eHromoWo", true, true},
    {"eCromoWo", true, true},
    {"eHromo", false, true},
    {"eCromo", false, true},
    {"eromoWo", true, true},
}};

using Partitions = RecordList<RLDPartition>;

bool isRequired(char letter) {
  return letter >= 'A' && letter <= 'Z';
}

// The row of a letter in either case; of a letter not in the table, one that expects an unknown type.
LetterRow rowOfLetter(char letter) {
  const char lower = isRequired(letter) ? static_cast<char>(letter - 'A' + 'a') : letter;
  const auto* found =
      std::find_if(kLetters.begin(), kLetters.end(), [lower](const LetterRow& row) { return row.letter == lower; });
  return found != kLetters.end() ? *found : LetterRow{lower, TMBGPTType::Unknown, ""};
}

TMBGPTType typeOf(const RLDPartition& partition) {
  return gptTypeOf(partition.gptTypeGUID());
}

bool isUsed(const RLDPartition& partition) {
  return partition.partType() != 0;
}

// The first used entry from `position` on, or the end.
std::size_t usedEntryFrom(const Partitions& partitions, std::size_t position) {
  while (position < partitions.size() && !isUsed(*partitions[position])) ++position;
  return position;
}

bool matches(std::string_view letters, const Partitions& partitions, Dictionary& partIndexes) {
  std::size_t position = usedEntryFrom(partitions, 0);
  for (const char letter : letters) {
    const LetterRow row = rowOfLetter(letter);
    if (position < partitions.size() && typeOf(*partitions[position]) == row.type) {
      if (!row.role.empty()) partIndexes.set(row.role, Value(std::uint64_t{position}));
      position = usedEntryFrom(partitions, position + 1);
    } else if (isRequired(letter)) {
      return false;
    }
  }
  return position == partitions.size();
}

Dictionary noPartIndexes() {
  Dictionary partIndexes;
  for (const LetterRow& row : kLetters) {
    if (!row.role.empty()) partIndexes.set(row.role, Value(kPartitionNotFound));
  }
  return partIndexes;
}

// The indexes are not reset between layouts, on purpose: what one recorded before it failed stays unless a later
// one records another.
const LayoutRule* firstMatch(std::span<const LayoutRule> layouts, const Partitions& partitions,
                             Dictionary& partIndexes) {
  for (const LayoutRule& layout : layouts) {
    if (matches(layout.letters, partitions, partIndexes)) return &layout;
  }
  return nullptr;
}

bool isAuxiliary(TMBGPTType type) {
  return type == TMBGPTType::EFISystem || type == TMBGPTType::AppleBoot || type == TMBGPTType::MicrosoftReserved ||
         type == TMBGPTType::WindowsRecovery;
}

bool holdsNoPartition(const Partitions& partitions, std::int64_t schemes) {
  const bool auxiliaryIsNothing = (schemes & kSchemeBit2) != 0;
  return std::all_of(partitions.begin(), partitions.end(), [auxiliaryIsNothing](const auto& partition) {
    return !isUsed(*partition) || (auxiliaryIsNothing && isAuxiliary(typeOf(*partition)));
  });
}

}  // namespace

std::optional<DiskAnalysis> analyseDisk(const RLDDisk& disk) {
  return analyseDiskByLayouts(disk, kLayouts);
}

std::optional<DiskAnalysis> analyseDiskByLayouts(const RLDDisk& disk, std::span<const LayoutRule> layouts) {
  DiskAnalysis analysis{.partIndexes = noPartIndexes()};
  const std::int64_t schemes = disk.partitioningSchemes();
  const bool isMatchable = (schemes & (kSchemeBit2 | kSchemeBit4)) != 0;
  const LayoutRule* layout = isMatchable ? firstMatch(layouts, disk.partitions(), analysis.partIndexes) : nullptr;

  if (layout != nullptr && (layout->isBootCamp || layout->isRestoreTarget)) {
    analysis.isBootCamp = layout->isBootCamp;
    analysis.isRestoreTarget = true;
    return analysis;
  }
  analysis.isEmpty = holdsNoPartition(disk.partitions(), schemes);
  analysis.isRestoreTarget = analysis.isEmpty;
  // A matching layout keeps its disk, even one that says nothing about it.
  if (!analysis.isEmpty && layout == nullptr) return std::nullopt;
  return analysis;
}

}  // namespace zpk
