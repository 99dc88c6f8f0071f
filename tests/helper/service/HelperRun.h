#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "helper/process/ToolRunner.h"

namespace zpk::test {

// Runs `zpkhelper` to its end, with `bus` as the address of its session bus when that is not empty.
//
// Without a limit on memory: a sanitizer's shadow takes terabytes of addresses.
inline ToolResult runHelper(const std::vector<std::string>& arguments, const std::string& bus = {}) {
  ToolCommand command{ZPKHELPER, arguments, {}, ToolAccess::ReadsAndWrites, {}};
  if (!bus.empty()) {
    command.executable = "/usr/bin/env";
    command.arguments.insert(command.arguments.begin(), {"DBUS_SESSION_BUS_ADDRESS=" + bus, ZPKHELPER});
  }
  command.limits.memoryBytes = UINT64_MAX;
  const CancelFlag never;
  const auto result = runTool(command, never);
  EXPECT_TRUE(result.hasValue()) << (result ? "" : result.error().text());
  return result ? *result : ToolResult{ToolEnd::Signalled, -1, {}, {}};
}

}  // namespace zpk::test
