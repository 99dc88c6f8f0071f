#pragma once

#include <QIcon>

namespace zpk {

// The window's own pictures, drawn as shapes in the colours of the palette so that they are sharp at every scale
// and right in light and dark. For disks and archives they stand in until the system's icon is known.
enum class Symbol { disk, archive, warning, error, arrow, restore, merge, open, schedule };

QIcon symbolIcon(Symbol symbol);

}  // namespace zpk
