#include "platform/qt/QtNumberFormat.h"

#include <cmath>

#include "platform/qt/QtText.h"

namespace zpk {
namespace {

// Beyond it a real has no thousandths to round to.
constexpr double kLargestWithThousandths = 4e12;

}  // namespace

QtNumberFormat::QtNumberFormat(const QLocale& locale) : _locale(locale) {
  _locale.setNumberOptions(QLocale::DefaultNumberOptions);
  _signsAndSeparators = _locale.groupSeparator() + _locale.decimalPoint() + _locale.positiveSign() +
                        _locale.negativeSign() + QStringLiteral("+-\u2212");
  // Where the locale groups with a kind of space that no keyboard has, the ordinary one stands for it.
  if (_locale.groupSeparator().trimmed().isEmpty()) _signsAndSeparators += QStringLiteral(" \u00A0\u202F");
}

bool QtNumberFormat::isWrittenAsNumber(const QString& text) const {
  if (text.isEmpty() || text.front().isSpace() || text.back().isSpace()) return false;
  for (const char32_t c : text.toUcs4()) {
    const bool basic = c <= 0xFFFF;
    if (!QChar::isDigit(c) && !(basic && _signsAndSeparators.contains(QChar(static_cast<char16_t>(c)))))
      return false;
  }
  return true;
}

std::optional<Value> QtNumberFormat::numberFromString(std::string_view text) const {
  if (text.size() > kLongestNumber) return std::nullopt;
  QString written = qtText(text);
  // The locale's own reader would take exponents, "inf", "nan" and spaces around the number.
  if (!isWrittenAsNumber(written)) return std::nullopt;
  // Where a sign carries a direction mark, the reader counts the mark when it looks for the groups.
  const QString minus = _locale.negativeSign();
  if (written.startsWith(minus)) written.replace(0, minus.size(), u'-');
  bool read = false;
  if (const qlonglong number = _locale.toLongLong(written, &read); read) return Value(number);
  if (const qulonglong number = _locale.toULongLong(written, &read); read) return Value(number);
  const double number = _locale.toDouble(written, &read);
  if (!read || !std::isfinite(number)) return std::nullopt;
  return Value(number);
}

std::string QtNumberFormat::stringFromNumber(const Value& number) const {
  if (!number.isNumber()) return {};
  if (number.isUnsigned()) return plainText(_locale.toString(qulonglong{number.unsignedIntegerValue()}));
  if (!number.isReal()) return plainText(_locale.toString(qlonglong{number.integerValue()}));
  double real = number.doubleValue();
  if (!std::isfinite(real)) return {};
  if (std::abs(real) < kLargestWithThousandths) real = std::nearbyint(real * 1000) / 1000;
  return plainText(_locale.toString(real, 'f', QLocale::FloatingPointShortest));
}

}  // namespace zpk
