#include "mount/DeviceCollector.h"

#include <utility>

#include "mount/SliceDevice.h"
#include "mount/virtualdisk/QrxMessages.h"

namespace zpk {

void DeviceCollector::note(int level, std::string_view text) {
  _log.line("ZPKUI::QRX(" + std::to_string(level) + "): \"" + std::string(text) + "\"");
  if (level != kQrxLevelResult) return;
  if (auto device = sliceDevice(text)) _devices.push_back(*std::move(device));
}

}  // namespace zpk
