#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "helper/disks/DiskScanner.h"
#include "records/ZPKDisk.h"
#include "support/RecordingLog.h"

namespace zpk::disktest {

// The images that the build has made with tools/sample-disks; never written.
std::string oddFolder();
std::string oddImage(const std::string& name);
std::string sampleFolder();

// What a tool prints; the test fails when it cannot be run or ends badly.
std::string outputOf(const std::string& command);
// The value of a line "Key: value" or "KEY=value"; empty when there is none.
std::string valueIn(const std::string& output, const std::string& key);
// The first number of such a value.
std::uint64_t numberIn(const std::string& output, const std::string& key);

DiskScannerOptions scannerOptions(std::vector<std::string> folders);
std::vector<std::shared_ptr<const ZPKDisk>> scanOnce(DiskScanner& scanner);
// The disk whose file has this name; null when it was not found.
std::shared_ptr<const ZPKDisk> diskNamed(const std::vector<std::shared_ptr<const ZPKDisk>>& disks,
                                         const std::string& fileName);
bool hasLineWith(const RecordingLog& log, const std::string& part, const std::string& otherPart = {});

}  // namespace zpk::disktest
