#include "records/RecordClasses.h"

#include "records/RLDArcDisk.h"
#include "records/RLDArcPartition.h"
#include "records/RLDArchive.h"
#include "records/RLDArchiveItem.h"
#include "records/RLDDisk.h"
#include "records/RLDPartition.h"
#include "records/TMBGUID.h"
#include "records/ZPKArchive.h"
#include "records/ZPKDisk.h"

namespace zpk {

namespace {

RecordRegistry allClasses() {
  RecordRegistry classes;
  classes.add<TMBGUID>("TMBGUID");
  classes.add<RLDPartition>("RLDPartition");
  classes.add<RLDDisk>("RLDDisk");
  classes.add<RLDArcPartition>("RLDArcPartition");
  classes.add<RLDArcDisk>("RLDArcDisk");
  classes.add<RLDArchive>("RLDArchive");
  classes.add<RLDArchiveItem>("RLDArchiveItem");
  classes.add<ZPKArchive>("ZPKArchive");
  classes.add<ZPKDisk>("ZPKDisk");
  return classes;
}

}  // namespace

const RecordRegistry& recordClasses() {
  static const RecordRegistry classes = allClasses();
  return classes;
}

}  // namespace zpk
