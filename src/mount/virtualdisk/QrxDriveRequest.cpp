#include "mount/virtualdisk/QrxDriveRequest.h"

#include <algorithm>

namespace zpk {
namespace {

template <std::size_t N>
std::string_view untilNul(const std::array<char, N>& buffer) {
  const auto* const end = std::find(buffer.begin(), buffer.end(), '\0');
  return {buffer.data(), static_cast<std::size_t>(end - buffer.begin())};
}

}  // namespace

void setImagePath(QrxDriveRequest& request, std::string_view path) {
  const std::string_view kept = path.substr(0, request.imagePath.size() - 1);
  request.imagePath.fill('\0');
  std::copy(kept.begin(), kept.end(), request.imagePath.begin());
}

std::string_view boundedText(const QrxErrorText& text) {
  return untilNul(text);
}

std::string_view imagePathOf(const QrxDriveRequest& request) {
  return untilNul(request.imagePath);
}

}  // namespace zpk
