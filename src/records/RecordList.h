#pragma once

#include <memory>
#include <vector>

namespace zpk {

// Records in order, shared with whoever else holds them. No element is null.
template <class R>
using RecordList = std::vector<std::shared_ptr<const R>>;

}  // namespace zpk
