// zpktable: edits the GPT of the disk that is open as its descriptor 3. Started by the helper, within limits
// (helper/process); README.md says why it is a program of its own.

#include <cstdio>
#include <string>
#include <vector>

#include "helper/archive/table/TableEditor.h"

namespace {

constexpr int diskDescriptor = 3;
constexpr int usageExit = 2;

const char usage[] =
    "Usage: zpktable add|new check|write SECTOR-SIZE DISK-ID [START SIZE TYPE ID ATTRIBUTES NAME]...\n"
    "\n"
    "Adds entries to the GPT of the disk that is open as descriptor 3, or gives it a new one with these entries.\n"
    "START and SIZE are bytes. An empty ID means a new one. With \"check\" nothing is written.\n";

}  // namespace

int main(int count, char** arguments) {
  const std::vector<std::string> words(arguments + 1, arguments + count);
  if (words.size() == 1 && words[0] == "--help") return std::fputs(usage, stdout) < 0;
  const auto edit = zpk::tableEditOf(words);
  if (!edit) {
    std::fputs(usage, stderr);
    return usageExit;
  }
  const auto done = zpk::editTable(diskDescriptor, *edit);
  if (!done) std::fprintf(stderr, "%s\n", done.error().c_str());
  return done ? 0 : 1;
}
