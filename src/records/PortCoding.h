#pragma once

#include <type_traits>

#include "records/TMBGUID.h"

namespace zpk {

// How a class of values goes over a link whose coder can also ask for a reference instead of a copy.
//
// The link of this program always sends copies: what arrives is a new object of the same className(), built from
// the keyed form. An adapter to a link with references (where the default for an object is a proxy) asks here
// first.
enum class PortRequest { ByCopy, ByReference };
enum class PortReplacement { Copy, Proxy };

// A record answers itself, to be copied, whatever is asked; only an identifier honours the wish for a reference.
template <class R>
requires std::is_base_of_v<Record, R>
constexpr PortReplacement replacementObjectForPortCoder(PortRequest request) {
  return std::is_same_v<R, TMBGUID> && request == PortRequest::ByReference ? PortReplacement::Proxy
                                                                           : PortReplacement::Copy;
}

}  // namespace zpk
