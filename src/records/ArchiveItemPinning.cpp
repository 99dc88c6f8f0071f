#include "records/ArchiveItemPinning.h"

namespace zpk {

namespace {

std::weak_ptr<ArchiveItemPinning>& mainControllerReference() {
  static std::weak_ptr<ArchiveItemPinning> reference;
  return reference;
}

}  // namespace

void setMainController(std::weak_ptr<ArchiveItemPinning> controller) {
  mainControllerReference() = std::move(controller);
}

std::shared_ptr<ArchiveItemPinning> mainController() {
  return mainControllerReference().lock();
}

}  // namespace zpk
