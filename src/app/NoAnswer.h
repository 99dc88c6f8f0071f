#pragma once

#include <QStringList>

namespace zpk {

// Tells, on standard error and then in a window until that is closed, that the program runs already and cannot be
// brought forward, in the first of the languages that the program speaks. Main thread, after the application
// object.
void tellThatTheOtherDoesNotAnswer(const QStringList& languages);

}  // namespace zpk
