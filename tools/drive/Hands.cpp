#include "tools/drive/Hands.h"

#include "tools/drive/KeyboardHands.h"
#include "tools/drive/MouseHands.h"

namespace zpk {

std::unique_ptr<Hands> Hands::make(InputKind kind) {
  switch (kind) {
    case InputKind::mouse:
      return std::make_unique<MouseHands>();
    case InputKind::keyboard:
      return std::make_unique<KeyboardHands>();
  }
  return nullptr;
}

}  // namespace zpk
