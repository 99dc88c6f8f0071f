#pragma once

#include <QIcon>
#include <memory>

#include "base/Image.h"
#include "interface/Icons.h"

namespace zpk {

// The picture as an icon; the symbol when there is none.
QIcon iconOf(const std::shared_ptr<const Image>& picture, Symbol otherwise);

}  // namespace zpk
