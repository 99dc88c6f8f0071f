#pragma once

#include "tools/zpkctl/Console.h"

namespace zpk::ctl {

// Standard output and standard error of the process.
class Terminal final : public Console {
 public:
  Terminal();
  ~Terminal() override;
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  void say(std::string_view text) override;
  void complain(std::string_view text) override;
  void showProgress(std::string_view text) override;

  // Whether all that was said has been written.
  bool flush();

 private:
  void endProgress();

  bool _showsProgress;
  bool _progressShown = false;
  bool _failed = false;
};

}  // namespace zpk::ctl
