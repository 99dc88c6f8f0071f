#pragma once

#include <cstdint>
#include <string_view>

namespace zpk {

// Kinds of disk images, as the controller numbers them.
enum class QrxImageFormat : std::uint32_t {
  notGiven = 0,
  vmdk = 1,
  vdi = 2,
  vhd = 3,
  hdd = 4,
  pvhd = 5,
  vhdx = 6,
};

// The kind that the file name's extension stands for, in whatever case it is written; `notGiven` for an extension
// that is none of them, for a name without one, and for a hidden file ("/images/.vhd").
QrxImageFormat qrxImageFormatForPath(std::string_view path);

}  // namespace zpk
