#include "helper/service/model/OperationLog.h"

#include <utility>

namespace zpk {
namespace {

// What a line costs on the link beside its text: length, terminator, alignment.
constexpr std::size_t kLineOverhead = 8;

void cut(std::string& line, std::size_t limit) {
  if (line.size() <= limit) return;
  std::size_t end = limit;
  // Never inside a character.
  while (end > 0 && (static_cast<unsigned char>(line[end]) & 0xC0U) == 0x80U) --end;
  line.resize(end);
}

}  // namespace

void OperationLog::append(std::string line) {
  cut(line, kLongestLine);
  _size += line.size() + kLineOverhead;
  _lines.push_back(std::move(line));
  while (_size > _limit && _lines.size() > 1) {
    _size -= _lines.front().size() + kLineOverhead;
    _lines.pop_front();
    _shortened = true;
  }
  _shared = Value();
}

const Value& OperationLog::lines() const {
  if (_shared.isNull()) {
    Array lines;
    lines.reserve(_lines.size() + 1);
    if (_shortened) lines.emplace_back("(older lines are left out)");
    for (const std::string& line : _lines) lines.emplace_back(line);
    _shared = Value(std::move(lines));
  }
  return _shared;
}

}  // namespace zpk
