// The commands that only look.

#include <optional>
#include <string>

#include "helperlink/StatusRecord.h"
#include "tools/zpkctl/Commands.h"
#include "tools/zpkctl/StatusReport.h"
#include "tools/zpkctl/Words.h"

namespace zpk::ctl {
namespace {

bool isReadable(const Dictionary& status) {
  return statuskey::state.read(status) != HelperState::busy;
}

// Why the backup points cannot be listed, or nothing when they can, none included.
std::optional<std::string> whyNoPoints(const Dictionary& status) {
  if (!statuskey::targetArchive.isPresentIn(status)) return "No location for the backups is chosen.";
  if (statuskey::arcState.read(status) == ArcState::unavailable) {
    return "The backups at " + *statuskey::targetArchive.read(status) + " cannot be reached.";
  }
  return std::nullopt;
}

}  // namespace

int runStatus(HelperSession& session, Console& console, Form form) {
  const auto status = session.newestStatus();
  if (!status) {
    console.complain(session.isInterrupted() ? "Interrupted." : "The backup helper does not answer.");
    return kNotDone;
  }
  console.say(form == Form::json ? statusAsJson(*status) : statusInWords(*status));
  return kDone;
}

int runList(HelperSession& session, Maintenance& maintenance, Console& console, Form form) {
  Dictionary seen;
  const auto wait = session.waitUntil(
      [&](const Dictionary& status) {
        seen = status;
        return isReadable(status);
      },
      HelperSession::kLongestBusy);
  if (wait != HelperSession::Wait::over) {
    // There is nothing that would go on.
    const bool interrupted = wait == HelperSession::Wait::interrupted;
    console.complain(interrupted ? "Interrupted." : waitFailure(wait, "the list"));
    return kNotDone;
  }
  if (const auto obstacle = whyNoPoints(seen)) {
    console.complain(*obstacle);
    return kNotDone;
  }
  auto told = maintenance.pointHealth();
  if (!told) console.complain("When the points were checked is not known. " + told.error());
  const Dictionary health = told ? std::move(*told) : Dictionary();
  console.say(form == Form::json ? pointsAsJson(seen, health) : pointsInWords(seen, health));
  return kDone;
}

}  // namespace zpk::ctl
