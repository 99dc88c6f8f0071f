#pragma once

#include <functional>
#include <string_view>
#include <vector>

#include "base/Observable.h"

namespace zpk {

// The bindings of one view: each copies a key of a controller to a control, now and after every announced change,
// for as long as the view keeps this object. A view holds no state of its own besides its controls.
//
//   _bindings.bind(controller, "backupEnabled", [&] { button->setEnabled(controller.backupEnabled()); });
class Bindings {
 public:
  using Update = std::function<void()>;

  void bind(Observable& object, std::string_view key, const Update& update) {
    update();
    _tokens.push_back(object.observe(key, update));
  }

  // For a control that shows several keys at once; `update` runs once now.
  void bind(Observable& object, std::initializer_list<std::string_view> keys, const Update& update) {
    update();
    for (const std::string_view key : keys) _tokens.push_back(object.observe(key, update));
  }

  // Ends them all.
  void clear() { _tokens.clear(); }

 private:
  std::vector<Token> _tokens;
};

}  // namespace zpk
