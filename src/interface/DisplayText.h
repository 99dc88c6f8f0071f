#pragma once

#include <QString>
#include <cstddef>
#include <initializer_list>
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
//
// Where writing directions can meet (a window that reads from right to left, a text that does) it is isolated: it
// keeps its own order, "/backups" its leading slash, and does not disturb the sentence it is put into.
QString displayText(std::string_view text, qsizetype limit = kLabelTextLimit);

// The same of a text of several lines, such as an error's description: line ends stay.
QString displayParagraph(std::string_view text, qsizetype limit);

// A text of the program's own that is made of figures and Latin letters, such as "47 GB", isolated in the same way.
QString isolated(const QString& text);

// A text that begins with an isolated part tells no direction, and a label would put it at the side of its first
// letter: the same with the direction of the window that it stands in, for each of its lines.
QString placedText(const QString& text, Qt::LayoutDirection direction);

// A sentence with its placeholder words replaced, wherever they stand, in one pass: what a text from outside
// says is never taken for a placeholder. Longer placeholders must not begin with shorter ones.
//
//   filledText("NAME is full", {{"NAME", displayText(name)}})
struct Filling {
  const char* placeholder;
  QString text;
};
QString filledText(const QString& sentence, std::initializer_list<Filling> fillings);

// The text with places to break within words longer than a line of a sheet, for labels that wrap: without them,
// such a word would set the width of the whole window.
QString withBreaks(const QString& text);

}  // namespace zpk
