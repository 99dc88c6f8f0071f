#pragma once

#include "base/Record.h"

namespace zpk {

// Every class of record that may come over the link or out of a keyed archive.
const RecordRegistry& recordClasses();

}  // namespace zpk
