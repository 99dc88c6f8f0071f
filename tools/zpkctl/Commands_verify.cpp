// The check of all backup points.

#include "helperlink/ResultCode.h"
#include "helperlink/StatusRecord.h"
#include "tools/zpkctl/Commands.h"
#include "tools/zpkctl/VerificationReport.h"
#include "tools/zpkctl/Words.h"

namespace zpk::ctl {
namespace {

// Why the check was not begun, or nothing when it was.
std::optional<std::string> beginCheck(HelperSession& session, Maintenance& maintenance) {
  const auto code = maintenance.verify();
  if (!code) return code.error();
  if (*code == static_cast<std::uint32_t>(ResultCode::success)) return std::nullopt;
  const auto status = session.newestStatus();
  return codeWords(*code, status ? *status : Dictionary());
}

}  // namespace

int runVerify(HelperSession& session, Maintenance& maintenance, Console& console, Form form) {
  if (const auto obstacle = beginCheck(session, maintenance)) {
    console.complain(*obstacle);
    return kNotDone;
  }
  const auto wait = session.waitUntil([&](const Dictionary& status) {
    const HelperState state = statuskey::state.read(status);
    if (state == HelperState::inProgress) console.showProgress("Checking: " + progressWords(status));
    return state == HelperState::idle;
  });
  if (wait == HelperSession::Wait::interrupted) {
    console.complain("Interrupted. The check goes on; 'zpkctl stop' stops it.");
    return kNotDone;
  }
  if (wait != HelperSession::Wait::over) {
    console.complain(waitFailure(wait, "the check"));
    return kNotDone;
  }
  const auto report = maintenance.lastVerification();
  if (!report) {
    console.complain(report.error());
    return kNotDone;
  }
  console.say(form == Form::json ? verificationAsJson(*report) : verificationInWords(*report));
  return isSound(*report) ? kDone : kNotDone;
}

}  // namespace zpk::ctl
