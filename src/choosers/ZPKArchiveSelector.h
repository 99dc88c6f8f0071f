#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zpk {

// The platform's save panel, as far as the redirection below needs it: what its own two buttons do.
class SavePanel {
 public:
  virtual ~SavePanel() = default;
  virtual void ok() = 0;
  virtual void cancel() = 0;
};

// The panel in which the user names the archive and chooses where it lives: a save panel whose OK and Cancel can be
// sent to another object instead. A redirected button closes nothing; the target's action ends the sheet.
//
//   selector.setActionsTarget(controller);
//   selector.setOkActionSelector([&](ZPKArchiveSelector& sender) { controller->sheetOKAction(); });
//
// The target is not owned: once it is gone, the buttons do what those of an ordinary save panel do. Main thread
// only.
class ZPKArchiveSelector {
 public:
  // An action of the target; an empty one is an action that the target does not have.
  using Action = std::function<void(ZPKArchiveSelector& sender)>;

  void setActionsTarget(std::weak_ptr<const void> target) { _actionsTarget = std::move(target); }
  void setOkActionSelector(Action action) { _okActionSelector = std::move(action); }
  void setCancelActionSelector(Action action) { _cancelActionSelector = std::move(action); }
  // The panel whose own buttons stand in for a missing action; not owned, null for none.
  void setSavePanel(SavePanel* panel) { _savePanel = panel; }
  SavePanel* savePanel() const { return _savePanel; }

  // What the panel's buttons call.
  void ok();
  void cancel();

  // Whether a file package (an archive that is a folder) is opened like a folder instead of being one file.
  bool treatsFilePackagesAsDirectories() const { return _treatsFilePackagesAsDirectories; }
  void setTreatsFilePackagesAsDirectories(bool flag) { _treatsFilePackagesAsDirectories = flag; }
  // Extensions without their point.
  const std::vector<std::string>& allowedFileTypes() const { return _allowedFileTypes; }
  void setAllowedFileTypes(std::vector<std::string> types) { _allowedFileTypes = std::move(types); }
  bool allowsOtherFileTypes() const { return _allowsOtherFileTypes; }
  void setAllowsOtherFileTypes(bool flag) { _allowsOtherFileTypes = flag; }

  // The chosen location: an absolute path, empty before anything was chosen.
  const std::string& URL() const { return _path; }
  // Takes the path as the user named it. A name without one of the allowed extensions gets the first of them,
  // unless other types are allowed.
  void setURL(std::string_view path);

  // Whether `path` has one of the allowed extensions.
  bool hasAllowedFileType(std::string_view path) const;

 private:
  bool dispatch(const Action& action);

  std::weak_ptr<const void> _actionsTarget;
  Action _okActionSelector;
  Action _cancelActionSelector;
  SavePanel* _savePanel = nullptr;
  bool _treatsFilePackagesAsDirectories = false;
  std::vector<std::string> _allowedFileTypes;
  bool _allowsOtherFileTypes = false;
  std::string _path;
};

}  // namespace zpk
