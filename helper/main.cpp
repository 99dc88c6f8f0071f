#include <cstdio>
#include <string>
#include <vector>

#include "helper/service/CommandLine.h"
#include "helper/service/HelperProgram.h"

namespace {

struct Start {
  int operator()(const zpk::HelperOptions& options) const { return zpk::runHelper(options); }
  int operator()(const zpk::HelpWanted&) const {
    std::fputs(zpk::helpText().c_str(), stdout);
    return 0;
  }
  int operator()(const zpk::VersionWanted&) const {
    std::puts("zpkhelper " ZPK_VERSION);
    return 0;
  }
  int operator()(const zpk::CommandLineMistake& mistake) const {
    std::fprintf(stderr, "zpkhelper: %s\n", mistake.text.c_str());
    return 2;
  }
};

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
  return std::visit(Start(), zpk::parseCommandLine(arguments));
}
