#pragma once

#include <QString>
#include <cstdint>

#include "tools/drive/Hands.h"
#include "tools/drive/WindowDriver.h"

namespace zpk {

// What is remembered of the tour's own backup, for the figures at its end.
struct BackupFigures {
  QString disk;
  std::uint64_t bytes = 0;
  double seconds = 0;
};

// Where a step of the tour takes place: the program, the eyes and the hands. What a step leaves for the ones after
// it is in the program itself.
struct Stage {
  Composition& program;
  WindowDriver& window;
  Hands& hands;
  QString archive;
  QString
      files;  // the volume that the disk holds, mounted by whoever takes the tour of opening; empty for the others
  BackupFigures figures{};

  ZPKUIDaemonController& controller() const { return program.controller(); }
  // The helper's newest record; empty before the first.
  Dictionary status() const;
  std::size_t pointCount() const;
};

// How long a step waits at most for what it has asked for.
inline constexpr Seconds kForTheHelper{20};
inline constexpr Seconds kForASheet{10};
inline constexpr Seconds kForABackup{3600};

// Throws DriveFailed unless what a step has found is as it has to be.
void expect(bool found, const QString& what);

// A command by its button or keys, and by the menus or keys alone.
void command(Stage& stage, const char* button, const char* action);
void command(Stage& stage, const char* action);

// Waits for the sheet of that number (ModalSession.h), until there is none, or until an error is shown.
QDialog& awaitSheet(Stage& stage, const QString& what, std::int32_t session);
void awaitNoSheet(Stage& stage, const QString& what);
// Gives the error's text.
QString awaitError(Stage& stage, const QString& what);
void awaitIdle(Stage& stage);

}  // namespace zpk
