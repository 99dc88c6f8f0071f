#pragma once

#include <string>
#include <string_view>

namespace zpk {

// User-visible texts in the user's language. The English text is its own key; a text without a translation is
// answered as it stands. Placeholder words in a text are replaced after the look-up. Main thread only.
class Localization {
 public:
  virtual ~Localization() = default;
  virtual std::string localizedString(std::string_view key) const = 0;
};

// Every text in English.
class EnglishLocalization final : public Localization {
 public:
  std::string localizedString(std::string_view key) const override { return std::string(key); }
};

}  // namespace zpk
