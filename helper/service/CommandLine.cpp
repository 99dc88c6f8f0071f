#include "helper/service/CommandLine.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace zpk {
namespace {

enum class Option { session, disks, devices, state, icons, help, version };

struct OptionRow {
  std::string_view name;
  std::string_view value;  // What it takes; empty when it takes nothing.
  std::string_view meaning;
  Option option;
};

constexpr std::array kOptions{
    OptionRow{"--session", "", "serve on the session bus (the system bus is the default)", Option::session},
    OptionRow{"--disks", "DIR", "offer the disk images in DIR; may be given more than once", Option::disks},
    OptionRow{"--devices", "", "offer the machine's block devices", Option::devices},
    OptionRow{"--state", "DIR", "keep settings and log in DIR", Option::state},
    OptionRow{"--icons", "DIR", "take the disks' icons from DIR", Option::icons},
    OptionRow{"--help", "", "show this text", Option::help},
    OptionRow{"--version", "", "show the version", Option::version},
};

CommandLineMistake mistake(const std::string& what) {
  std::string allowed;
  for (const OptionRow& row : kOptions) {
    allowed += (allowed.empty() ? "" : ", ") + std::string(row.name);
    if (!row.value.empty()) allowed += " " + std::string(row.value);
  }
  return {what + " (allowed: " + allowed + ")"};
}

void take(HelperOptions& options, Option option, const std::string& value) {
  switch (option) {
    case Option::session:
      options.session = true;
      break;
    case Option::disks:
      options.disks.push_back(value);
      break;
    case Option::devices:
      options.devices = true;
      break;
    case Option::state:
      options.state = value;
      break;
    case Option::icons:
      options.icons = value;
      break;
    case Option::help:
    case Option::version:
      break;
  }
}

}  // namespace

CommandLine parseCommandLine(const std::vector<std::string>& arguments) {
  HelperOptions options;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    const std::string name = argument.substr(0, argument.find('='));
    const auto row =
        std::find_if(kOptions.begin(), kOptions.end(), [&](const auto& known) { return known.name == name; });
    if (row == kOptions.end()) return mistake("unknown option '" + argument + "'");
    const bool attached = name.size() != argument.size();
    if (row->value.empty()) {
      if (attached) return mistake("option '" + name + "' takes no value");
      if (row->option == Option::help) return HelpWanted{};
      if (row->option == Option::version) return VersionWanted{};
      take(options, row->option, "");
      continue;
    }
    const bool follows = !attached && i + 1 < arguments.size();
    const std::string value = attached ? argument.substr(name.size() + 1) : follows ? arguments[++i] : "";
    if (value.empty() || value.starts_with("--")) return mistake("option '" + name + "' needs a folder after it");
    take(options, row->option, value);
  }
  if (options.session && options.devices) {
    return CommandLineMistake{
        "'--session' and '--devices' do not go together: disks of the machine are the system's helper's, which "
        "asks "
        "for leave"};
  }
  return options;
}

std::string helpText() {
  std::string text =
      "Usage: zpkhelper [OPTION]…\n\nThe backup service of ZPK: finds disks, keeps the settings, makes the "
      "backups.\n\n";
  for (const OptionRow& row : kOptions) {
    std::string head = "  " + std::string(row.name) + (row.value.empty() ? "" : " ") + std::string(row.value);
    head.resize(std::max(head.size() + 2, std::size_t{18}), ' ');
    text += head + std::string(row.meaning) + "\n";
  }
  return text;
}

}  // namespace zpk
