#include "interface/Pictures.h"

#include "platform/qt/QtImage.h"

namespace zpk {

QIcon iconOf(const std::shared_ptr<const Image>& picture, Symbol otherwise) {
  const QIcon icon = QtImage::iconOf(picture);
  return icon.isNull() ? symbolIcon(otherwise) : icon;
}

}  // namespace zpk
