#pragma once

#include <QString>
#include <string>
#include <string_view>

namespace zpk {

// Text of the inner rings (UTF-8) as Qt's, and back. What is not valid UTF-8 becomes replacement characters.
inline QString qtText(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}
inline std::string plainText(const QString& text) {
  return text.toStdString();
}

}  // namespace zpk
