#include "choosers/ZPKArchiveSelector.h"

#include <algorithm>

namespace zpk {

void ZPKArchiveSelector::ok() {
  if (!dispatch(_okActionSelector) && _savePanel) _savePanel->ok();
}

void ZPKArchiveSelector::cancel() {
  if (!dispatch(_cancelActionSelector) && _savePanel) _savePanel->cancel();
}

bool ZPKArchiveSelector::dispatch(const Action& action) {
  const std::shared_ptr<const void> target = _actionsTarget.lock();
  if (!action || !target) return false;
  // Called through a copy: the action may drop this panel, and its own closure with it.
  const Action kept = action;
  kept(*this);
  return true;
}

bool ZPKArchiveSelector::hasAllowedFileType(std::string_view path) const {
  return std::any_of(_allowedFileTypes.begin(), _allowedFileTypes.end(), [&](const std::string& type) {
    const std::string_view name = path.substr(path.rfind('/') + 1);
    return name.size() > type.size() + 1 && name.ends_with(type) && name[name.size() - type.size() - 1] == '.';
  });
}

void ZPKArchiveSelector::setURL(std::string_view path) {
  _path = path;
  const bool named = !path.empty() && !path.ends_with('/');
  if (named && !_allowsOtherFileTypes && !_allowedFileTypes.empty() && !hasAllowedFileType(path)) {
    _path += '.';
    _path += _allowedFileTypes.front();
  }
}

}  // namespace zpk
