#pragma once

#include <functional>

#include "base/DispatchQueue.h"

namespace zpk {

// Does the work while it is handed in.
class ImmediateQueue final : public DispatchQueue {
 public:
  void async(std::function<void()> work) override { work(); }
};

}  // namespace zpk
