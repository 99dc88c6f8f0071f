#include "interface/LogModel.h"

#include <algorithm>
#include <limits>
#include <optional>

#include "interface/DisplayText.h"

namespace zpk {
namespace {

constexpr std::size_t kMostRows = std::numeric_limits<int>::max() / 2;
// How far back a dropped beginning is looked for; a log that lost more is shown anew.
constexpr std::size_t kLongestDrop = 4096;

std::size_t lineCount(const LogModel::Lines& lines) {
  return lines ? std::min(lines->size(), kMostRows) : 0;
}

// Whether `next` goes on where `last`, less its first `dropped` lines, ends. Looks at both ends of the part they
// share: a log only ever grows at its end and loses at its beginning, so what lies between is the same.
bool continues(const Array& last, const Array& next, std::size_t dropped) {
  const std::size_t shared = last.size() - dropped;
  return shared > 0 && shared <= next.size() && last[dropped] == next.front() && last.back() == next[shared - 1];
}

// How many lines `next` has dropped from the beginning of `last`; nothing when it is another log.
std::optional<std::size_t> droppedLines(const LogModel::Lines& last, const LogModel::Lines& next) {
  if (!lineCount(last) || !lineCount(next)) return std::nullopt;
  const std::size_t most = std::min(last->size() - 1, kLongestDrop);
  for (std::size_t dropped = 0; dropped <= most; ++dropped) {
    if (continues(*last, *next, dropped)) return dropped;
  }
  return std::nullopt;
}

}  // namespace

void LogModel::setLines(Lines lines) {
  if (lines == _lines) return;
  const std::optional<std::size_t> dropped = droppedLines(_lines, lines);
  if (!dropped) {
    beginResetModel();
    _lines = std::move(lines);
    _first = 0;
    _count = static_cast<int>(lineCount(_lines));
    endResetModel();
    return;
  }
  if (*dropped) drop(static_cast<int>(*dropped));
  append(std::move(lines));
}

void LogModel::drop(int count) {
  beginRemoveRows({}, 0, count - 1);
  _first = static_cast<std::size_t>(count);
  _count -= count;
  endRemoveRows();
}

void LogModel::append(Lines lines) {
  const int count = static_cast<int>(lineCount(lines));
  const bool grows = count > _count;
  if (grows) beginInsertRows({}, _count, count - 1);
  _lines = std::move(lines);
  _first = 0;
  _count = count;
  if (grows) endInsertRows();
}

int LogModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : _count;
}

QVariant LogModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= _count || role != Qt::DisplayRole) return {};
  const std::string* line = text(index.row());
  return line ? displayText(*line, kLogLineLimit) : QString();
}

int LogModel::columns(int row) const {
  // A line that is cut may consist of characters two columns wide.
  constexpr std::size_t kMost = 2 * kLogLineLimit;
  const std::string* line = text(row);
  return line ? static_cast<int>(std::min(line->size(), kMost)) : 0;
}

}  // namespace zpk
