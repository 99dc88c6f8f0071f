#pragma once

#include <QLocale>

#include "base/NumberFormat.h"

namespace zpk {

// Numbers with the digits, signs and separators of a locale.
class QtNumberFormat final : public NumberFormat {
 public:
  explicit QtNumberFormat(const QLocale& locale = QLocale());

  std::optional<Value> numberFromString(std::string_view text) const override;
  std::string stringFromNumber(const Value& number) const override;

 private:
  bool isWrittenAsNumber(const QString& text) const;

  QLocale _locale;
  // What may stand in a number besides digits.
  QString _signsAndSeparators;
};

}  // namespace zpk
