#pragma once

#include <memory>

#include "platform/linux/link/LinkCore.h"

namespace zpk {

// Calls the helper `peer` over a connection made for this one call: for threads other than the main one, which own
// none. Blocks without a run loop, for at most `atMost` and never beyond the end of the link. Gives the reply,
// which is no error; throws LinkException, also when the bus is not the one on which the peer was found.
BusMessageHandle callOnOwnConnection(LinkCore& core, const BusPeer& peer, const DBusMember& called,
                                     const LinkCore::Fill& fill, LinkCore::Duration atMost);

}  // namespace zpk
