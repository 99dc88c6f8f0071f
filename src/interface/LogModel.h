#pragma once

#include <QAbstractListModel>
#include <cstddef>
#include <memory>

#include "base/Value.h"

namespace zpk {

// The lines of the running operation's log, one row each, for a view that stays smooth with 100,000 of them.
//
// The helper sends its whole log with every status, and the model shares that array as it is: no line is copied,
// and only the lines on the screen are turned into text. A log that continues the one before tells the view about
// the new rows alone; one whose oldest lines were dropped by the helper first removes those rows. Main thread.
class LogModel final : public QAbstractListModel {
 public:
  using Lines = std::shared_ptr<const Array>;

  // Null is an empty log. Costs what the change costs, not what the log is long.
  void setLines(Lines lines);

  // How many columns of a fixed-width font a line takes at most: its bytes, since no character of UTF-8 takes more
  // columns than bytes. Known without looking at the text.
  int columns(int row) const;

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;

 private:
  void drop(int count);
  void append(Lines lines);
  // The text of a row that is there; null for what is no text.
  const std::string* text(int row) const { return (*_lines)[_first + static_cast<std::size_t>(row)].text(); }

  Lines _lines;
  std::size_t _first = 0;  // of `_lines` that is still shown
  int _count = 0;
};

}  // namespace zpk
