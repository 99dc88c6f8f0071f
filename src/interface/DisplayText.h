#pragma once

#include <QString>
#include <cstddef>
#include <string_view>

namespace zpk {

// The most characters of a text from outside that a label shows, and of a log line.
inline constexpr qsizetype kLabelTextLimit = 256;
inline constexpr qsizetype kLogLineLimit = 4096;

// Text that came from outside (a disk's name, a path, a helper's message) as a control may show it: valid Unicode,
// cut to `limit` characters with an ellipsis at the end, control characters and characters that change the
// direction of the text around them shown as symbols. `text` is UTF-8; what is not reads as U+FFFD. The control
// that shows it must still be told that it is plain text.
//
//   displayText("a\nb") == "a␊b"
QString displayText(std::string_view text, qsizetype limit = kLabelTextLimit);

// The same of a text of several lines, such as an error's description: line ends stay.
QString displayParagraph(std::string_view text, qsizetype limit);

// The text with places to break within words longer than a line of a sheet, for labels that wrap: without them,
// such a word would set the width of the whole window.
QString withBreaks(const QString& text);

}  // namespace zpk
