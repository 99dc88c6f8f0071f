#include "choosers/RestoreEffect.h"

#include <algorithm>

namespace zpk {
namespace {

bool isOnlyOneOfItsName(const std::string& name, const std::vector<std::shared_ptr<const ZPKDisk>>& offered) {
  const auto bearsIt = [&](const auto& disk) { return disk->name().value_or("") == name; };
  return !name.empty() && std::count_if(offered.begin(), offered.end(), bearsIt) <= 1;
}

}  // namespace

std::optional<RestoreEffect> restoreEffect(const ZPKDisk& target,
                                           const std::vector<std::shared_ptr<const ZPKDisk>>& offered) {
  if (!target.isRestoreTarget()) return std::nullopt;
  RestoreEffect effect{target.name().value_or(""), {}, FillsFreeSpace{}};
  if (!isOnlyOneOfItsName(effect.disk, offered)) effect.device = target.bsdName().value_or("");
  // In the order in which the helper asks.
  if (target.isBootCamp()) {
    const auto windows = target.objectForKeyedSubscript("winPartition");
    if (!windows) return std::nullopt;
    effect.does = ReplacesWindows{windows->name().value_or(""), windows->partSize()};
  } else if (target.isEmpty()) {
    effect.does = ErasesDisk{};
  }
  return effect;
}

}  // namespace zpk
