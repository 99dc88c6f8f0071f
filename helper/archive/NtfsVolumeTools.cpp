#include "helper/archive/NtfsVolumeTools.h"

#include <charconv>
#include <optional>
#include <string_view>

#include "helper/process/ToolRunner.h"

namespace zpk {
namespace {

// A resize moves data at the pace of the disk, and a volume of terabytes takes hours.
constexpr std::chrono::hours longest{48};

enum class Device { IsRead, IsWritten };

ArchiveResult<ToolResult> runResize(std::vector<std::string> arguments, const std::string& device, Device use,
                                    const CancelFlag& cancel) {
  ToolCommand command{"/usr/sbin/ntfsresize", std::move(arguments), {}, ToolAccess::ReadsOnly, {}};
  if (use == Device::IsWritten) command.writable = device;
  command.arguments.push_back("--no-progress-bar");
  command.arguments.push_back(device);
  command.limits.wallClock = longest;
  command.limits.cpuSeconds = static_cast<std::uint64_t>(std::chrono::seconds(longest).count());
  command.limits.memoryBytes = std::uint64_t{2} << 30U;
  auto result = runTool(command, cancel);
  if (!result) return ArchiveError{ArchiveFault::ToolFailed, result.error().text(), device, 0, 0};
  if (result->end == ToolEnd::Cancelled) return cancelledError();
  return std::move(*result);
}

// Of what the tool says only its complaint, on one line.
std::string complaintOf(const ToolResult& result) {
  const std::string said = result.output + result.errors;
  std::size_t from = said.find("ERROR");
  if (from == std::string::npos) from = said.size() > 200 ? said.size() - 200 : 0;
  std::string complaint = said.substr(from, 300);
  for (char& character : complaint) {
    if (character == '\n') character = ' ';
  }
  while (!complaint.empty() && complaint.back() == ' ') complaint.pop_back();
  return complaint.empty() ? "it gave no reason" : complaint;
}

std::optional<std::uint64_t> numberBehind(const std::string& text, std::string_view words) {
  const std::size_t at = text.find(words);
  if (at == std::string::npos) return std::nullopt;
  std::uint64_t number = 0;
  const char* const begin = text.data() + at + words.size();
  const auto [end, error] = std::from_chars(begin, text.data() + text.size(), number);
  return error == std::errc() && end != begin ? std::optional(number) : std::nullopt;
}

}  // namespace

ArchiveResult<std::uint64_t> leastVolumeSize(const std::string& device, const CancelFlag& cancel) {
  const auto result = runResize({"--info", "--no-action"}, device, Device::IsRead, cancel);
  if (!result) return result.error();
  if (!result->succeeded()) {
    // A volume without a free cluster has no smaller size; that is an answer, not a fault.
    const std::string said = result->output + result->errors;
    if (said.find("is full") != std::string::npos) {
      if (const auto size = numberBehind(said, "Current volume size: ")) return *size;
    }
    return ArchiveError{
        ArchiveFault::Refused,
        "The volume of this backup point cannot be given another size (" + complaintOf(*result) + ")",
        {},
        0,
        0};
  }
  if (const auto size = numberBehind(result->output, "You might resize at ")) return *size;
  return ArchiveError{ArchiveFault::ToolFailed, "The smallest size of the volume could not be found out", device, 0,
                      0};
}

ArchiveResult<Done> resizeVolume(const std::string& device, std::uint64_t size, const CancelFlag& cancel) {
  // By force: nobody is there to say yes.
  const auto result = runResize({"--force", "--size", std::to_string(size)}, device, Device::IsWritten, cancel);
  if (!result) return result.error();
  if (result->succeeded()) return Done{};
  return ArchiveError{
      ArchiveFault::ToolFailed, "The volume could not be resized (" + complaintOf(*result) + ")", {}, 0, 0};
}

ArchiveResult<Done> checkVolume(const std::string& device, const CancelFlag& cancel) {
  const auto result = runResize({"--info", "--no-action", "--force"}, device, Device::IsRead, cancel);
  if (!result) return result.error();
  const std::string said = result->output + result->errors;
  if (result->succeeded() || said.find("is full") != std::string::npos) return Done{};
  return damagedError("The volume contradicts itself (" + complaintOf(*result) + ")", {});
}

}  // namespace zpk
