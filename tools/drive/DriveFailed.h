#pragma once

#include <QString>
#include <stdexcept>

namespace zpk {

// A step of the drive could not be taken, or what it was to bring about did not come. what() says which.
class DriveFailed : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
  explicit DriveFailed(const QString& what) : std::runtime_error(what.toStdString()) {}
};

// The sheet that something was to be done in is not there, or no more: a new record takes it down, as it does under
// a person's hands.
class SheetGone : public DriveFailed {
 public:
  SheetGone() : DriveFailed("there is no sheet over the window") {}
};

}  // namespace zpk
