#pragma once

#include <QString>

#include "base/Localization.h"
#include "choosers/RestoreEffect.h"

namespace zpk {

// One or two plain sentences that say what a restore will do to the chosen disk, ready to be shown:
// “BOOTCAMP” (120 GB) on “Internal” will be replaced. The rest of the disk stays.
//
// Long names are cut short, so that the sentence around them can be read.
QString restoreEffectText(const RestoreEffect& effect, const Localization& localization);

// Whether it costs what is on the disk now.
bool isDestructive(const RestoreEffect& effect);

}  // namespace zpk
