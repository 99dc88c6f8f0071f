#pragma once

#include <functional>
#include <vector>

#include "tools/drive/Stage.h"

namespace zpk {

// One thing that a person does with the program, from the first gesture to what it has brought about.
struct TourStep {
  const char* name;
  // Says in a few words what came of it; throws DriveFailed when something else did.
  QString (*take)(Stage& stage);
};

// Everything that the main window offers, in an order in which each step finds what it needs.
const std::vector<TourStep>& wholeTour();
// What becomes of backup points that are opened; the last step quits.
const std::vector<TourStep>& openingTour();
// A crash with a point open, which ends this program too, and the next start of it.
const std::vector<TourStep>& crashTour();
const std::vector<TourStep>& afterCrashTour();
// That of a user who may do nothing, where disk and place are chosen already.
const std::vector<TourStep>& refusedTour();
// Up to where the window is ready to back up.
const std::vector<TourStep>& choosingTour();
// The shortest way to a backup.
const std::vector<TourStep>& backupTour();

// Takes the steps and prints a line for each. A step that fails ends it: DriveFailed, naming the step.
void takeTour(const std::vector<TourStep>& steps, Stage& stage);

}  // namespace zpk
