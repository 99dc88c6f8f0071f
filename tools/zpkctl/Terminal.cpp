#include "tools/zpkctl/Terminal.h"

#include <unistd.h>

#include <cstdio>
#include <string>

#include "platform/posix/Log_posix.h"

namespace zpk::ctl {
namespace {

bool write(FILE* file, std::string_view text) {
  return std::fwrite(text.data(), 1, text.size(), file) == text.size();
}

}  // namespace

Terminal::Terminal() : _showsProgress(::isatty(STDOUT_FILENO) == 1) {}

Terminal::~Terminal() {
  endProgress();
}

void Terminal::say(std::string_view text) {
  endProgress();
  // A text of several lines is this program's own making; each is shown whole.
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    if (!write(stdout, visibleLine(text.substr(0, end)) + "\n")) _failed = true;
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
}

void Terminal::complain(std::string_view text) {
  endProgress();
  // There is nobody left to tell that this failed.
  write(stderr, "zpkctl: " + visibleLine(text) + "\n");
}

void Terminal::showProgress(std::string_view text) {
  if (!_showsProgress) return;
  // To the start of the line, and what was there before is rubbed out.
  write(stdout, "\r" + visibleLine(text) + "\x1b[K");
  std::fflush(stdout);
  _progressShown = true;
}

bool Terminal::flush() {
  endProgress();
  return std::fflush(stdout) == 0 && !_failed;
}

void Terminal::endProgress() {
  if (!_progressShown) return;
  _progressShown = false;
  write(stdout, "\r\x1b[K");
  std::fflush(stdout);
}

}  // namespace zpk::ctl
