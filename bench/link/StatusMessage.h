#pragma once

#include "base/Value.h"
#include "platform/linux/wire/BusHandles.h"

namespace zpk::bench {

// `status` in a message that is still being built, on a bus that is connected to nothing.
BusMessageHandle message(const Dictionary& status);

// The same as a receiver has it: sealed, to be read from its beginning.
BusMessageHandle sealedMessage(const Dictionary& status);

// The status in a sealed message, which is rewound first.
Dictionary decoded(sd_bus_message* sealed);

}  // namespace zpk::bench
