#include "helper/archive/SourceCheck.h"

#include <string_view>

#include "helper/process/ToolRunner.h"

namespace zpk {
namespace {

// Exit statuses of ntfs-3g.probe, from its manual.
constexpr int probeNotNtfs = 12;
constexpr int probeInconsistent = 13;
constexpr int probeHibernated = 14;
constexpr int probeUnclean = 15;

SourceState unreadableFor(std::string_view said) {
  return tellsOfBadSectors(said) ? SourceState::BadSectors : SourceState::Unreadable;
}

SourceFinding probeState(const ToolResult& result) {
  if (result.end == ToolEnd::Cancelled) return {SourceState::Cancelled, {}};
  if (result.end != ToolEnd::Exited) return {SourceState::Unreadable, result.errors};
  switch (result.status) {
    case 0:
      return {SourceState::Fit, {}};
    case probeNotNtfs:
      return {SourceState::NotNtfs, result.errors};
    case probeInconsistent:
      return {
          tellsOfBadSectors(result.output + result.errors) ? SourceState::BadSectors : SourceState::Inconsistent,
          result.errors};
    case probeHibernated:
      return {SourceState::Hibernated, result.errors};
    case probeUnclean:
      return {SourceState::Dirty, result.errors};
    default:
      return {unreadableFor(result.output + result.errors), result.errors};
  }
}

// ntfsresize has one exit status for every refusal; its words tell them apart.
SourceFinding resizeState(const ToolResult& result) {
  if (result.end == ToolEnd::Cancelled) return {SourceState::Cancelled, {}};
  const std::string said = result.output + result.errors;
  const auto says = [&said](std::string_view words) { return said.find(words) != std::string::npos; };
  if (result.succeeded()) return {SourceState::Fit, {}};
  if (says("hibernated")) return {SourceState::Hibernated, said};
  if (says("scheduled for check") || says("journal file is unclean")) return {SourceState::Dirty, said};
  // Whatever else it made of what it could not read.
  if (tellsOfBadSectors(said)) return {SourceState::BadSectors, said};
  if (says("NTFS is inconsistent") || says("Corrupt") || says("check failed")) {
    return {SourceState::Inconsistent, said};
  }
  return {SourceState::Unreadable, said};
}

SourceFinding runProbe(const std::string& device, const CancelFlag& cancel) {
  const auto result =
      runTool({"/usr/bin/ntfs-3g.probe", {"--readwrite", device}, {}, ToolAccess::ReadsOnly, {}}, cancel);
  return result ? probeState(*result) : SourceFinding{SourceState::Unreadable, result.error().text()};
}

SourceFinding runResize(const std::string& device, const CancelFlag& cancel) {
  ToolCommand command{"/usr/sbin/ntfsresize",
                      {"--info", "--no-action", "--no-progress-bar", device},
                      {},
                      ToolAccess::ReadsOnly,
                      {}};
  // It walks every file of the volume.
  command.limits.wallClock = std::chrono::minutes(30);
  command.limits.cpuSeconds = std::uint64_t{30} * 60;
  command.limits.memoryBytes = std::uint64_t{2} << 30U;
  const auto result = runTool(command, cancel);
  return result ? resizeState(*result) : SourceFinding{SourceState::Unreadable, result.error().text()};
}

}  // namespace

std::string SourceFinding::sentence() const {
  switch (state) {
    case SourceState::Fit:
    case SourceState::Cancelled:
      return {};
    case SourceState::Hibernated:
      return "Windows is hibernated or was shut down with fast startup; start Windows, shut it down completely and "
             "try again";
    case SourceState::Dirty:
      return "The Windows volume was not closed cleanly; start Windows, let it check the volume, shut it down and "
             "try again";
    case SourceState::Inconsistent:
      return "The Windows volume is damaged; run \"chkdsk /f\" in Windows and try again";
    case SourceState::Encrypted:
      return "The Windows volume is encrypted; turn BitLocker off in Windows and try again";
    case SourceState::BadSectors:
      return "The file system of the Windows volume cannot be read: the disk has bad sectors there; copy what you "
             "need "
             "from it, run \"chkdsk /r\" in Windows and try again";
    case SourceState::NotNtfs:
      return "The Windows volume holds no NTFS file system";
    case SourceState::Unreadable:
      return "The state of the Windows volume could not be found out";
  }
  return {};
}

bool tellsOfBadSectors(std::string_view said) {
  return said.find("Input/output error") != std::string_view::npos;
}

SourceFinding checkNtfsSource(const std::string& device, const CancelFlag& cancel) {
  const SourceFinding finding = runProbe(device, cancel);
  return finding.isFit() ? runResize(device, cancel) : finding;
}

}  // namespace zpk
