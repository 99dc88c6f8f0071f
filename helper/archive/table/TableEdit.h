#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zpk {

// An entry that a GPT is to get. Places are bytes, whole sectors.
struct TableEditEntry {
  std::uint64_t start = 0;
  std::uint64_t size = 0;
  std::string type;  // GUIDs in text form.
  std::string id;    // Empty: a new one.
  std::uint64_t attributes = 0;
  std::string name;
};

// What is to become of a disk's GPT.
struct TableEdit {
  bool isNew = false;   // A table with these entries alone; else they are added behind those that are there.
  bool writes = false;  // Else it is only found out whether the entries would be taken.
  std::uint32_t sectorSize = 512;
  std::string diskId;  // Of a new table; empty: a new one.
  std::vector<TableEditEntry> entries;
};

// The arguments of the program, without its name: "add" or "new", "check" or "write", the sector size, the disk's
// identifier, then for each entry start, size, type, identifier, attributes and name. Nothing when they are no such
// thing.
std::vector<std::string> argumentsOf(const TableEdit& edit);
std::optional<TableEdit> tableEditOf(const std::vector<std::string>& arguments);

}  // namespace zpk
