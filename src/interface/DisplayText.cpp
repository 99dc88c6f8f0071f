#include "interface/DisplayText.h"

#include <QGuiApplication>
#include <QRegularExpression>
#include <algorithm>
#include <utility>

namespace zpk {
namespace {

constexpr char16_t kSymbolForNull = u'\u2400';
constexpr char16_t kSymbolForDelete = u'\u2421';
constexpr char16_t kSymbolForOther = u'\u2426';
constexpr char16_t kZeroWidthSpace = u'\u200B';
constexpr int kLongestWord = 32;
constexpr char16_t kEllipsis = u'\u2026';
constexpr char16_t kRightToLeftMark = u'\u200F';
constexpr char16_t kFirstStrongIsolate = u'\u2068';
constexpr char16_t kPopDirectionalIsolate = u'\u2069';

// The longest text in UTF-8 that can still matter: a character takes at most four bytes.
std::string_view enough(std::string_view text, qsizetype limit) {
  return text.substr(0, static_cast<std::size_t>(limit + 1) * 4);
}

// Characters that reorder or hide what stands around them: marks, embeddings, overrides, isolates, separators.
bool changesDirectionOrHides(char16_t c) {
  return c == 0x061C || (c >= 0x200B && c <= 0x200F) || (c >= 0x2028 && c <= 0x202E) ||
         (c >= 0x2060 && c <= 0x206F) || c == 0xFEFF;
}

char16_t shown(char16_t c) {
  if (c < 0x20) return static_cast<char16_t>(kSymbolForNull + c);
  if (c == 0x7F) return kSymbolForDelete;
  if (c < 0xA0 && c >= 0x80) return kSymbolForOther;
  return changesDirectionOrHides(c) ? kSymbolForOther : c;
}

enum class LineEnds { symbols, kept };

bool readsFromRightToLeft(QChar c) {
  return c.direction() == QChar::DirR || c.direction() == QChar::DirAL;
}

bool hasLettersFromTheRight(const QString& text) {
  return std::any_of(text.begin(), text.end(), readsFromRightToLeft);
}

QString enclosed(const QString& text) {
  return QChar(kFirstStrongIsolate) + text + QChar(kPopDirectionalIsolate);
}

// "47 GB" among letters from the right would read "GB 47".
QString withSizesEnclosed(QString text) {
  static const QRegularExpression size(QStringLiteral("\\b(\\d+ [KMGTP]?B)\\b"));
  return text.replace(size, enclosed(QStringLiteral("\\1")));
}

QString shownText(std::string_view utf8, qsizetype limit, LineEnds lineEnds) {
  const std::string_view part = enough(utf8, limit);
  QString text = QString::fromUtf8(part.data(), static_cast<qsizetype>(part.size()));
  if (text.size() > limit) {
    const bool splitsPair = text.at(limit - 2).isHighSurrogate();
    text.truncate(limit - (splitsPair ? 2 : 1));
    text += QChar(kEllipsis);
  }
  const bool clean = std::none_of(std::as_const(text).begin(), std::as_const(text).end(),
                                  [](QChar c) { return shown(c.unicode()) != c.unicode(); });
  if (clean) return text;
  for (QChar& c : text) {
    if (lineEnds == LineEnds::symbols || c != u'\n') c = QChar(shown(c.unicode()));
  }
  return text;
}

}  // namespace

QString isolated(const QString& text) {
  if (text.isEmpty()) return text;
  if (hasLettersFromTheRight(text)) return enclosed(withSizesEnclosed(text));
  return QGuiApplication::layoutDirection() == Qt::RightToLeft ? enclosed(text) : text;
}

QString displayText(std::string_view text, qsizetype limit) {
  return isolated(shownText(text, limit, LineEnds::symbols));
}

// A line end ends every isolate, so each line is one of its own.
QString displayParagraph(std::string_view text, qsizetype limit) {
  QStringList lines = shownText(text, limit, LineEnds::kept).split(u'\n');
  for (QString& line : lines) line = isolated(line);
  return lines.join(u'\n');
}

QString placedText(const QString& text, Qt::LayoutDirection direction) {
  if (direction != Qt::RightToLeft || text.isEmpty()) return text;
  QString placed = QChar(kRightToLeftMark) + text;
  return placed.replace(u'\n', QStringLiteral("\n") + QChar(kRightToLeftMark));
}

QString filledText(const QString& sentence, std::initializer_list<Filling> fillings) {
  QString filled;
  qsizetype done = 0;
  while (done < sentence.size()) {
    const auto rest = QStringView(sentence).mid(done);
    const auto* next = std::find_if(fillings.begin(), fillings.end(), [rest](const Filling& filling) {
      return rest.startsWith(QLatin1String(filling.placeholder));
    });
    if (next == fillings.end()) {
      filled += sentence.at(done++);
    } else {
      filled += next->text;
      done += static_cast<qsizetype>(qstrlen(next->placeholder));
    }
  }
  return filled;
}

QString withBreaks(const QString& text) {
  QString broken;
  int wordLength = 0;
  for (const QChar c : text) {
    wordLength = c.isSpace() ? 0 : wordLength + 1;
    if (wordLength > kLongestWord && !c.isLowSurrogate()) {
      broken += QChar(kZeroWidthSpace);
      wordLength = 1;
    }
    broken += c;
  }
  return broken;
}

}  // namespace zpk
