#include "helper/archive/table/TableEdit.h"

#include <charconv>

namespace zpk {
namespace {

constexpr std::size_t headArguments = 4;
constexpr std::size_t entryArguments = 6;

std::optional<std::uint64_t> numberOf(const std::string& text) {
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

}  // namespace

std::vector<std::string> argumentsOf(const TableEdit& edit) {
  std::vector<std::string> arguments{edit.isNew ? "new" : "add", edit.writes ? "write" : "check",
                                     std::to_string(edit.sectorSize), edit.diskId};
  for (const TableEditEntry& entry : edit.entries) {
    arguments.insert(arguments.end(), {std::to_string(entry.start), std::to_string(entry.size), entry.type,
                                       entry.id, std::to_string(entry.attributes), entry.name});
  }
  return arguments;
}

std::optional<TableEdit> tableEditOf(const std::vector<std::string>& arguments) {
  if (arguments.size() < headArguments || (arguments.size() - headArguments) % entryArguments != 0) {
    return std::nullopt;
  }
  const auto sectorSize = numberOf(arguments[2]);
  const bool isKnown = (arguments[0] == "new" || arguments[0] == "add") &&
                       (arguments[1] == "write" || arguments[1] == "check") &&
                       (sectorSize == 512U || sectorSize == 4096U);
  if (!isKnown) return std::nullopt;
  TableEdit edit{
      arguments[0] == "new", arguments[1] == "write", static_cast<std::uint32_t>(*sectorSize), arguments[3], {}};
  for (std::size_t i = headArguments; i < arguments.size(); i += entryArguments) {
    const auto start = numberOf(arguments[i]);
    const auto size = numberOf(arguments[i + 1]);
    const auto attributes = numberOf(arguments[i + 4]);
    if (!start || !size || !attributes || *start % *sectorSize != 0 || *size % *sectorSize != 0)
      return std::nullopt;
    edit.entries.push_back({*start, *size, arguments[i + 2], arguments[i + 3], *attributes, arguments[i + 5]});
  }
  return edit;
}

}  // namespace zpk
