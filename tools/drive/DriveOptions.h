#pragma once

#include <QString>
#include <QStringList>
#include <optional>

#include "tools/drive/Hands.h"

namespace zpk {

// Of errands, disk and place are chosen, and then the standard input says what to do (Errands.h).
enum class Journey { backup, whole, opening, crash, afterCrash, refused, errands };

// What to drive with the archive at `archive`; pictures are saved into the folder `pictures`.
struct DriveOptions {
  QString archive;
  QString pictures;
  Journey journey = Journey::backup;
  // Where the volume of the disk that is backed up is mounted: the tour of opening compares with it. Empty for
  // another journey.
  QString files;
  InputKind input = InputKind::mouse;
  bool systemBus = false;
};

// Nothing when the command line is wrong; what is wrong and what is allowed then stands in `mistake`.
std::optional<DriveOptions> driveOptions(const QStringList& arguments, QString& mistake);

}  // namespace zpk
