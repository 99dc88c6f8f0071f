#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zpk {

// Program arguments as the right side of "ExecStart=" of systemd.service(5), and back.
//
//   {"/usr/bin/zpkctl", "backup", "50%", ""}  →  ":/usr/bin/zpkctl" "backup" "50%%" ""
//
// Every argument is quoted, so that blanks, empty ones and a lone ";" are nothing special. "%" is doubled because
// the manager expands specifiers; the ":" keeps it from expanding "$". Everything but printable ASCII is written in
// hexadecimal, so that the line is one line of valid text whatever the arguments hold.
//
// No argument holds a NUL byte.
std::string execLine(const std::vector<std::string>& arguments);

// The arguments of a line that execLine made; nothing for any other.
std::optional<std::vector<std::string>> argumentsOfExecLine(std::string_view line);

// `text` in quotes, with the same escapes.
std::string quotedForUnit(std::string_view text);

}  // namespace zpk
