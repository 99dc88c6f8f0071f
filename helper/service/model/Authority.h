#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "base/Observable.h"

namespace zpk {

// A question to whoever decides in this system what a user may do.
struct AuthorityQuestion {
  std::string peer;    // Unique bus name of the one who wants to; never the helper's own.
  std::string action;  // As the authority names it.
  // What it would be done to, for the person who is asked: name and text.
  std::vector<std::pair<std::string, std::string>> details;
  bool mayAsk = false;  // Whether a person may be asked for a password.
};

enum class Verdict {
  granted,
  refused,
  needsPerson,   // It could be granted if somebody were asked.
  noAuthority,   // There is nobody to decide.
  notUnderstood  // It died over the question, or said something that is no answer.
};

// The authority. On the loop's thread; an answer never comes before `ask` returned.
class Authority {
 public:
  virtual ~Authority() = default;
  // Takes as long as a person takes. The token takes the question back, with the dialog that it may have opened;
  // there is no answer then.
  virtual Token ask(const AuthorityQuestion& question, std::function<void(Verdict)> answered) = 0;
};

}  // namespace zpk
