#include "mount/virtualdisk/QrxImageFormat.h"

#include <array>
#include <cstddef>

#include "mount/virtualdisk/AsciiCase.h"

namespace zpk {
namespace {

struct Row {
  QrxImageFormat format;
  std::string_view extension;
};

constexpr std::array kFormats{
    Row{QrxImageFormat::vmdk, "vmdk"}, Row{QrxImageFormat::vdi, "vdi"},   Row{QrxImageFormat::vhd, "vhd"},
    Row{QrxImageFormat::hdd, "hdd"},   Row{QrxImageFormat::pvhd, "pvhd"}, Row{QrxImageFormat::vhdx, "vhdx"},
};

QrxImageFormat formatForExtension(std::string_view extension) {
  for (const Row& row : kFormats) {
    if (equalWithoutCase(extension, row.extension)) return row.format;
  }
  return QrxImageFormat::notGiven;
}

}  // namespace

QrxImageFormat qrxImageFormatForPath(std::string_view path) {
  // The first character begins no extension, so it is not looked at.
  for (std::size_t at = path.size(); at-- > 1;) {
    if (path[at] == '/') break;
    if (path[at] != '.') continue;
    return path[at - 1] == '/' ? QrxImageFormat::notGiven : formatForExtension(path.substr(at + 1));
  }
  return QrxImageFormat::notGiven;
}

}  // namespace zpk
