#include "helperlink/ResultCode.h"

#include <algorithm>

namespace zpk {

std::uint32_t resultCodeOf(const Value& result) {
  return result.unsignedIntValue();
}

std::string resultCodeMessage(std::uint32_t code, const Localization& localization) {
  const auto hasCode = [code](const ResultCodeRow& row) { return static_cast<std::uint32_t>(row.code) == code; };
  const auto row = std::find_if(kResultCodes.begin(), kResultCodes.end(), hasCode);
  return localization.localizedString(row == kResultCodes.end() ? kNoResultDescription : row->message);
}

}  // namespace zpk
