#pragma once

#include "tools/drive/Stage.h"

namespace zpk {

// Serves the program and does what the standard input asks for, an errand a line, until it ends; so whoever writes
// the lines can change disks in between. Each errand is answered with a line on the standard output once the window
// shows that it is done; one that cannot be done ends it all with DriveFailed.
//
//   back-up
//   limit INCREMENTS
//   pin ROW LABEL
//   merge ROW                          with the row before it
//   restore ROW most|middle|least DISK
//   stop-restore ROW most|middle|least DISK
//   refused-restore ROW most|middle|least DISK
//
// Rows count from 0, the oldest backup point. LABEL and DISK go on to the end of the line.
void runErrands(Stage& stage);

}  // namespace zpk
