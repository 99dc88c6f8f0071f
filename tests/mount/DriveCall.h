#pragma once

#include <string>
#include <utility>
#include <vector>

#include "mount/DriverWorld.h"

namespace zpk {

// A call of qrxCreateDrive in a driver world, and all that came out of it.
struct DriveCall {
  DriveCall() {
    errorText.fill('?');
    result.words.fill(77);
    setImagePath(request, "/b/disk0.pvhd");
  }

  std::int32_t run() {
    const QrxLogCallback note = [this](int level, const char* text) {
      said.emplace_back(level, text);
      if (level == kQrxLevelMessage) messages += text;
      if (level == kQrxLevelResult) devices.emplace_back(text);
    };
    return qrxCreateDrive(world, request, note, &errorText, &result);
  }

  std::string why() const { return std::string(boundedText(errorText)); }
  bool saysNothingOfAnError() const { return errorText.front() == '?' && errorText.back() == '?'; }
  bool resultIsUntouched() const { return result.words.front() == 77 && result.words.back() == 77; }

  DriverWorld world;
  QrxDriveRequest request{};
  QrxErrorText errorText{};
  QrxDriveResult result{};
  std::vector<std::pair<int, std::string>> said;
  std::string messages;
  std::vector<std::string> devices;
};

inline constexpr const char* kCountingId = "000102030405060708090A0B0C0D0E0F";

}  // namespace zpk
