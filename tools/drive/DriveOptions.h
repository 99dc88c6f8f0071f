#pragma once

#include <QString>
#include <QStringList>
#include <optional>

namespace zpk {

// What to drive: a backup to `archive`, with pictures saved into the folder `pictures`.
struct DriveOptions {
  QString archive;
  QString pictures;
  bool systemBus = false;
};

// Nothing when the command line is wrong; what is wrong and what is allowed then stands in `mistake`.
std::optional<DriveOptions> driveOptions(const QStringList& arguments, QString& mistake);

}  // namespace zpk
