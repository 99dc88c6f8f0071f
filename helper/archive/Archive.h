#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "helper/archive/ArchiveIndex.h"
#include "helper/archive/ArchiveLock.h"
#include "helper/archive/FileAccess.h"
#include "helper/archive/PointIndex.h"

namespace zpk {

// A backup point that is being made: a folder of the package that archive.json does not name yet. Destruction
// without a commit removes it and all it holds.
class PendingPoint {
 public:
  PendingPoint(PendingPoint&&) = default;
  PendingPoint& operator=(PendingPoint&&) = delete;
  ~PendingPoint();

  const std::string& id() const { return _id; }
  const OpenFile& folder() const { return *_folder; }

 private:
  friend class Archive;
  PendingPoint() = default;

  std::string _id;
  std::string _name;
  FileDescriptor _package;
  std::optional<OpenFile> _folder;  // None once committed or moved from.
};

// The disk that an archive belongs to.
struct ArchiveSource {
  std::string disk;  // Identifier, as the helper gives it.
  std::string name;
};

// A package folder NAME.rldbackup with its backup points. `docs/archive-format.md` describes the files.
//
//   ArchiveResult<Archive> archive = Archive::openForWriting(path);
//   ArchiveResult<PendingPoint> point = archive->beginPoint();
//   … write images and maps into point->folder() …
//   ArchiveResult<Done> done = archive->commitPoint(std::move(*point), index);
//
// One thread at a time. An archive that is open for writing holds the package's lock; opened for reading it needs
// no right to write, so that it works from a read-only file system.
class Archive {
 public:
  static constexpr const char* indexName = "archive.json";
  static constexpr const char* pointIndexName = "index.json";

  struct Identity {
    std::string sourceDisk;
    std::string sourceName;
    std::int64_t creationTime = 0;
  };

  // Makes a new archive without points and opens it for writing. Its folder may exist when it is empty. Everything
  // in it belongs to the owner of the folder that it lies in.
  static ArchiveResult<Archive> create(const std::string& path, const Identity& identity);

  // A point that a merge has given up is not among the points.
  static ArchiveResult<Archive> openForReading(const std::string& path);

  // Also finishes a merge that was interrupted, and removes what a stopped run left: point folders that the index
  // does not name. A raised `cancel` takes the merge back, or leaves it to the next opening. One that can never be
  // finished, because what it needs is damaged, is given up; `whyMergeGivenUp` then has the reason.
  // An archive of the older kind is Refused.
  static ArchiveResult<Archive> openForWriting(const std::string& path, const CancelFlag& cancel = {});

  // Removes an archive without points, which is open for writing, and its folder when nothing else is in it.
  static void removeEmpty(Archive archive);

  const std::string& path() const { return _package.path; }
  const ArchiveIndex& index() const { return _index; }

  // Full path of the index file of a point; the images lie beside it.
  std::string pointIndexPath(std::size_t point) const;
  ArchiveResult<PointIndex> readPoint(std::size_t point) const;
  // A file of a point, open for reading.
  ArchiveResult<OpenFile> openPointFile(std::size_t point, const std::string& name) const;

  // Replaces the index.json of a point as a whole; a failure keeps the old one. Only on an archive that is open for
  // writing.
  ArchiveResult<Done> savePoint(std::size_t point, const PointIndex& index);

  // The file that an image of a point names as the one that it builds on; Damaged when that is not an image of
  // another point of this archive.
  ArchiveResult<OpenFile> openBackingFile(const std::string& backingFile) const;

  // The steps of a merge that stand in the index (MergeOperation.h). A failure leaves the index as it was, or, of
  // the last one, for the next opening to find.
  ArchiveResult<Done> beginMerge(const PendingMerge& merge);
  ArchiveResult<Done> abandonMerge();
  // The parent is no point any more, and its folder goes.
  ArchiveResult<Done> endMerge();
  // The parent is no point any more, but what builds on its images still needs them.
  ArchiveResult<Done> giveUpMerge(const ArchiveError& reason);
  const std::optional<ArchiveError>& whyMergeGivenUp() const { return _mergeGivenUp; }
  ArchiveResult<OpenFile> openPointFolder(std::size_t point) const;
  const OpenFile& package() const { return _package; }

  // A new folder with an id of its own. Only on an archive that is open for writing.
  ArchiveResult<PendingPoint> beginPoint();

  // The files in the point's folder are complete and synced. Writes index.json (with the point's id) and then
  // archive.json; only when that is durable does the point exist. A failure leaves the archive as it was.
  // With a source, the archive belongs to it from then on.
  ArchiveResult<Done> commitPoint(PendingPoint point, PointIndex index,
                                  const std::optional<ArchiveSource>& source = std::nullopt);

 private:
  Archive() = default;
  static ArchiveResult<Archive> open(const std::string& path);
  ArchiveResult<Done> readIndex();
  ArchiveResult<Done> removeLeftovers();
  // Kept folders that nothing builds on any more.
  ArchiveResult<Done> forgetUnusedFolders();
  ArchiveResult<Done> saveIndex(ArchiveIndex next);
  // Whether what is open here is still what the archive's path leads to: a file system that is taken away while it
  // is in use takes everything in silence and keeps nothing.
  ArchiveResult<Done> checkPlace() const;
  // After a failed save of the index: whether the old one is in place for certain.
  bool takesBackIndex();

  OpenFile _package;
  std::optional<ArchiveLock> _lock;
  ArchiveIndex _index;
  std::optional<ArchiveError> _mergeGivenUp;
};

}  // namespace zpk
