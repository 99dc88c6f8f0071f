#pragma once

#include <fstream>
#include <iterator>
#include <ostream>
#include <regex>
#include <string>
#include <vector>

namespace zpk::tests {

// One method as the introspection file describes it.
struct Described {
  std::string interface;
  std::string member;
  std::string in;
  std::string out;
  friend bool operator==(const Described&, const Described&) = default;
};

inline void PrintTo(const Described& row, std::ostream* stream) {
  *stream << row.interface << "." << row.member << "(" << row.in << ") -> " << row.out;
}

// The methods of the introspection file at `path`, which has one tag a line.
inline std::vector<Described> describedMembers(const std::string& path) {
  std::ifstream file(path);
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  const std::regex tag(
      R"re(<(interface|method) name="([^"]*)">|<arg [^>]*type="([^"]*)" direction="(in|out)"/>)re");
  std::vector<Described> members;
  std::string interface;
  for (std::sregex_iterator at(text.begin(), text.end(), tag), end; at != end; ++at) {
    const std::smatch& found = *at;
    if (found[1] == "interface") {
      interface = found[2];
    } else if (found[1] == "method") {
      members.push_back({interface, found[2], "", ""});
    } else if (!members.empty()) {
      (found[4] == "in" ? members.back().in : members.back().out) += found[3];
    }
  }
  return members;
}

}  // namespace zpk::tests
