#include "helperlink/ResultCode.h"

#include <algorithm>

namespace zpk {
namespace {

// The texts are marked as translated where the table is. Null for a code without a row.
const ResultCodeRow* rowOf(std::uint32_t code) {
  const auto hasCode = [code](const ResultCodeRow& row) { return static_cast<std::uint32_t>(row.code) == code; };
  const auto* row = std::find_if(kResultCodes.begin(), kResultCodes.end(), hasCode);
  return row == kResultCodes.end() ? nullptr : row;
}

}  // namespace

std::uint32_t resultCodeOf(const Value& result) {
  return result.unsignedIntValue();
}

std::string resultCodeMessage(std::uint32_t code, const Localization& localization) {
  const ResultCodeRow* row = rowOf(code);
  return localization.localizedString(row ? row->message : kNoResultDescription);
}

std::string resultCodeAdvice(std::uint32_t code, const Localization& localization) {
  const ResultCodeRow* row = rowOf(code);
  return localization.localizedString(row ? row->advice : kNoResultAdvice);
}

}  // namespace zpk
