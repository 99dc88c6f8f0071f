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

}  // namespace zpk
