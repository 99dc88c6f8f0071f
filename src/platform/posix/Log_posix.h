#pragma once

#include <string>
#include <string_view>

#include "base/Log.h"

namespace zpk {

// Writes log lines to a descriptor, standard error as a rule: "zpk[4711]: ZPKD::Reconnect". Who collects the output
// (the journal, a terminal) knows the time.
//
// Each line is one write, so that lines of several threads and processes do not mix. A line that cannot be written
// is lost: a program does not fail for its log.
class PosixLog final : public Log {
 public:
  // `descriptor` stays the caller's.
  explicit PosixLog(std::string_view program, int descriptor = 2);
  void line(std::string_view text) override;

 private:
  std::string _head;
  int _descriptor;
};

// `text` as one line of at most 8192 bytes that shows everything in it. Control characters become their symbols
// (a line feed "␊", an escape "␛"), other characters that steer a terminal or turn the direction of text their
// number
// ("<U+202E>"), bytes that are not UTF-8 their value ("<FF>"). What is too long ends in "…"; line feeds at the very
// end are dropped.
std::string visibleLine(std::string_view text);

}  // namespace zpk
