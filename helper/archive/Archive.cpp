#include "helper/archive/Archive.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <cerrno>
#include <filesystem>
#include <memory>

#include "helper/archive/KeptFolders.h"
#include "helper/archive/MergeOperation.h"

namespace zpk {
namespace {

constexpr std::uint64_t largestIndex = std::uint64_t{8} << 20;

struct CloseFolder {
  void operator()(DIR* folder) const { ::closedir(folder); }
};

ArchiveResult<std::vector<std::string>> namesIn(const OpenFile& folder) {
  const int fd = ::openat(folder.fd.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  const std::unique_ptr<DIR, CloseFolder> listing(fd < 0 ? nullptr : ::fdopendir(fd));
  if (!listing) return readError("The folder could not be listed", folder.path, 0, errno);
  std::vector<std::string> names;
  while (const dirent* entry = ::readdir(listing.get())) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  return names;
}

// A point's folder holds plain files only; anything else in it is not ours and keeps the folder where it is.
void removePointFolder(int package, const std::string& name) {
  const OpenFile folder{
      FileDescriptor(::openat(package, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW)), name};
  if (!folder.fd) return;
  const ArchiveResult<std::vector<std::string>> names = namesIn(folder);
  if (!names) return;
  for (const std::string& file : *names) ::unlinkat(folder.fd.get(), file.c_str(), 0);
  ::unlinkat(package, name.c_str(), AT_REMOVEDIR);
}

std::uint64_t randomNumber() {
  std::uint64_t number = 0;
  while (::getrandom(&number, sizeof number, 0) != static_cast<ssize_t>(sizeof number)) {
  }
  return number;
}

std::string randomId() {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string id;
  for (int half = 0; half < 2; ++half) {
    std::uint64_t number = randomNumber();
    for (int i = 0; i < 16; ++i, number >>= 4U) id += digits[number & 15U];
  }
  return id;
}

// A folder that belongs to whoever owns the one it lies in, so that a backup made by a privileged helper stays in
// the hands of its user; nobody else can look into it.
ArchiveResult<OpenFile> makeFolder(const OpenFile& parent, const std::string& name) {
  const std::string path = parent.path + "/" + name;
  struct stat owner = {};
  if (::fstat(parent.fd.get(), &owner) != 0) return writeError("The folder could not be made", path, 0, errno);
  if (::mkdirat(parent.fd.get(), name.c_str(), 0700) != 0 && errno != EEXIST) {
    return writeError("The folder could not be made", path, 0, errno);
  }
  ArchiveResult<OpenFile> folder = openFolderIn(parent, name);
  // File systems without owners refuse; who may look into the folder is theirs to say then.
  if (folder && ::geteuid() == 0) [[maybe_unused]]
    const int result = ::fchown(folder->fd.get(), owner.st_uid, owner.st_gid);
  return folder;
}

ArchiveError notFound(const std::string& path) {
  return {ArchiveFault::NotFound, "There is no archive at this place", path, 0, 0};
}

}  // namespace

PendingPoint::~PendingPoint() {
  if (_folder && _package) removePointFolder(_package.get(), _name);
}

ArchiveResult<Archive> Archive::create(const std::string& path, const Identity& identity) {
  const std::filesystem::path place(path);
  ArchiveResult<OpenFile> parent = openFolder(place.parent_path().string());
  if (!parent) return parent.error();
  ArchiveResult<OpenFile> package = makeFolder(*parent, place.filename().string());
  if (!package) return package.error();
  const ArchiveResult<std::vector<std::string>> names = namesIn(*package);
  if (!names) return names.error();
  const bool isFree = std::ranges::all_of(*names, [](const std::string& name) {
    return name == ArchiveLock::fileName || name.starts_with(".zpk-save-");
  });
  if (!isFree) return ArchiveError{ArchiveFault::NotAnArchive, "The folder is not empty", path, 0, 0};

  Archive archive;
  archive._package = std::move(*package);
  ArchiveResult<ArchiveLock> lock = ArchiveLock::take(archive._package);
  if (!lock) return lock.error();
  archive._lock.emplace(std::move(*lock));
  archive._index.id = randomId();
  archive._index.sourceDisk = identity.sourceDisk;
  archive._index.sourceName = identity.sourceName;
  archive._index.hashSeed = randomNumber();
  archive._index.creationTime = identity.creationTime;
  const CancelFlag never;
  ArchiveResult<Done> step = syncFolder(*parent, never);
  if (step) step = saveAtomically(archive._package, indexName, textOf(archive._index));
  if (!step) return step.error();
  return archive;
}

ArchiveResult<Archive> Archive::open(const std::string& path) {
  Archive archive;
  struct stat status = {};
  if (::stat(path.c_str(), &status) != 0) {
    if (errno == ENOENT || errno == ENOTDIR) return notFound(path);
    return readError("The archive could not be opened", path, 0, errno);
  }
  if (!S_ISDIR(status.st_mode)) {
    return ArchiveError{ArchiveFault::NotAnArchive, "This is not a backup archive", path, 0, 0};
  }
  ArchiveResult<OpenFile> package = openFolder(path);
  if (!package) return package.error();
  archive._package = std::move(*package);
  return archive;
}

ArchiveResult<Done> Archive::readIndex() {
  const ArchiveResult<std::string> text = readText(_package, indexName, largestIndex);
  if (!text) {
    if (text.error().errorNumber != ENOENT) return text.error();
    return ArchiveError{ArchiveFault::NotAnArchive, "This folder is not a backup archive", path(), 0, 0};
  }
  ArchiveResult<ArchiveIndex> index = parseArchiveIndex(*text, path() + "/" + indexName);
  if (!index) return index.error();
  _index = std::move(*index);
  return Done{};
}

ArchiveResult<Archive> Archive::openForReading(const std::string& path) {
  ArchiveResult<Archive> archive = open(path);
  if (!archive) return archive;
  const ArchiveResult<Done> read = archive->readIndex();
  if (!read) return read.error();
  if (archive->_index.merging) std::erase(archive->_index.points, archive->_index.merging->parent);
  return archive;
}

ArchiveResult<Archive> Archive::openForWriting(const std::string& path, const CancelFlag& cancel) {
  // Read first: what is no archive gets no lock file and loses nothing.
  ArchiveResult<Archive> archive = openForReading(path);
  if (!archive) return archive;
  if (archive->_index.isLegacy) {
    return ArchiveError{ArchiveFault::Refused,
                        "The archive is of an older kind, which is only read. Choose another place for new backups",
                        path, 0, 0};
  }
  ArchiveResult<ArchiveLock> lock = ArchiveLock::take(archive->_package);
  if (!lock) return lock.error();
  archive->_lock.emplace(std::move(*lock));
  // And again under the lock: until now another process may have changed it.
  ArchiveResult<Done> step = archive->readIndex();
  // Whoever wrote it may have been killed before it was durable, and what follows must not overtake it.
  if (step) step = syncFolder(archive->_package, {});
  if (step && archive->_index.merging) step = finishMerge(*archive, cancel);
  if (step && !archive->_index.kept.empty()) step = archive->forgetUnusedFolders();
  if (step) step = archive->removeLeftovers();
  if (!step) return step.error();
  return archive;
}

ArchiveResult<Done> Archive::removeLeftovers() {
  const ArchiveResult<std::vector<std::string>> names = namesIn(_package);
  if (!names) return names.error();
  for (const std::string& name : *names) {
    const bool isNamed = std::ranges::find(_index.points, name) != _index.points.end() ||
                         std::ranges::find(_index.kept, name) != _index.kept.end();
    if (isPointFolderName(name) && !isNamed) removePointFolder(_package.fd.get(), name);
  }
  return Done{};
}

ArchiveResult<Done> Archive::forgetUnusedFolders() {
  const std::set<std::string> used = keptFoldersInUse(*this);
  if (used.size() == _index.kept.size()) return Done{};
  ArchiveIndex next = _index;
  std::erase_if(next.kept, [&](const std::string& name) { return !used.contains(name); });
  return saveIndex(std::move(next));
}

void Archive::removeEmpty(Archive archive) {
  assert(archive._lock);
  if (!archive._index.points.empty() || !archive._index.kept.empty()) return;
  // The lock's file last, so that nobody else gets hold of the archive before it is none; whoever has opened that
  // file meanwhile finds that it has no name any more (ArchiveLock).
  const int package = archive._package.fd.get();
  if (::unlinkat(package, indexName, 0) == 0) ::unlinkat(package, ArchiveLock::fileName, 0);
  ::rmdir(archive.path().c_str());
}

std::string Archive::pointIndexPath(std::size_t point) const {
  return path() + "/" + _index.points.at(point) + "/" + pointIndexName;
}

ArchiveResult<OpenFile> Archive::openPointFolder(std::size_t point) const {
  return openFolderIn(_package, _index.points.at(point));
}

ArchiveResult<OpenFile> Archive::openPointFile(std::size_t point, const std::string& name) const {
  const ArchiveResult<OpenFile> folder = openPointFolder(point);
  if (!folder) return folder.error();
  return openIn(*folder, name);
}

ArchiveResult<OpenFile> Archive::openBackingFile(const std::string& backingFile) const {
  constexpr std::string_view up = "../";
  const std::size_t slash = backingFile.find('/', up.size());
  const bool isPlain = backingFile.starts_with(up) && slash != std::string::npos &&
                       backingFile.find('/', slash + 1) == std::string::npos && backingFile.ends_with(".pvhd");
  const std::string folder = isPlain ? backingFile.substr(up.size(), slash - up.size()) : std::string();
  if (!isPointFolderName(folder))
    return damagedError("An image builds on a file that is not of this archive", path());
  const ArchiveResult<OpenFile> open = openFolderIn(_package, folder);
  if (!open) return open.error();
  return openIn(*open, backingFile.substr(slash + 1));
}

ArchiveResult<PointIndex> Archive::readPoint(std::size_t point) const {
  const ArchiveResult<OpenFile> folder = openFolderIn(_package, _index.points.at(point));
  if (!folder) return folder.error();
  const ArchiveResult<std::string> text = readText(*folder, pointIndexName, largestIndex);
  if (!text) return text.error();
  return parsePointIndex(*text, pointIndexPath(point));
}

ArchiveResult<Done> Archive::savePoint(std::size_t point, const PointIndex& index) {
  assert(_lock);
  const ArchiveResult<OpenFile> folder = openFolderIn(_package, _index.points.at(point));
  if (!folder) return folder.error();
  return saveAtomically(*folder, pointIndexName, textOf(index));
}

ArchiveResult<PendingPoint> Archive::beginPoint() {
  assert(_lock);
  PendingPoint point;
  point._id = randomId();
  const std::uint64_t number = _index.points.empty() ? 1 : pointNumberOf(_index.points.back()) + 1;
  point._name = pointFolderName(number, point._id);
  if (!isPointFolderName(point._name)) return damagedError("The archive has no number for a further point", path());
  point._package = FileDescriptor(::fcntl(_package.fd.get(), F_DUPFD_CLOEXEC, 0));
  if (!point._package) return writeError("The backup point could not be begun", path(), 0, errno);
  ArchiveResult<OpenFile> folder = makeFolder(_package, point._name);
  if (!folder) return folder.error();
  point._folder = std::move(*folder);
  return point;
}

ArchiveResult<Done> Archive::commitPoint(PendingPoint point, PointIndex index,
                                         const std::optional<ArchiveSource>& source) {
  assert(_lock && point._folder);
  const CancelFlag never;
  index.id = point._id;
  ArchiveResult<Done> step = saveAtomically(point.folder(), pointIndexName, textOf(index));
  if (step) step = syncFolder(_package, never);
  if (!step) return step;
  ArchiveIndex next = _index;
  next.points.push_back(point._name);
  if (source) {
    next.sourceDisk = source->disk;
    next.sourceName = source->name;
  }
  step = checkPlace();
  if (!step) return step;
  step = saveAtomically(_package, indexName, textOf(next));
  if (!step && takesBackIndex()) return step;
  // Either the point is made, or the index may name it all the same: its folder stays, and the next opening
  // decides.
  point._folder.reset();
  if (step) _index = std::move(next);
  return step;
}

ArchiveResult<Done> Archive::checkPlace() const {
  struct stat open = {};
  struct stat named = {};
  const bool isThere = ::fstat(_package.fd.get(), &open) == 0 && ::stat(path().c_str(), &named) == 0 &&
                       open.st_dev == named.st_dev && open.st_ino == named.st_ino;
  if (isThere) return Done{};
  return writeError("The archive is not at its place any more", path(), 0, 0);
}

ArchiveResult<Done> Archive::saveIndex(ArchiveIndex next) {
  assert(_lock);
  const ArchiveResult<Done> saved = saveAtomically(_package, indexName, textOf(next));
  if (saved) {
    _index = std::move(next);
  } else {
    takesBackIndex();
  }
  return saved;
}

ArchiveResult<Done> Archive::beginMerge(const PendingMerge& merge) {
  ArchiveIndex next = _index;
  next.merging = merge;
  const ArchiveResult<Done> place = checkPlace();
  if (!place) return place;
  return saveIndex(std::move(next));
}

ArchiveResult<Done> Archive::abandonMerge() {
  ArchiveIndex next = _index;
  next.merging.reset();
  return saveIndex(std::move(next));
}

ArchiveResult<Done> Archive::endMerge() {
  const std::string parent = _index.merging.value().parent;
  ArchiveIndex next = _index;
  std::erase(next.points, parent);
  next.merging.reset();
  ArchiveResult<Done> saved = saveIndex(std::move(next));
  if (saved) removePointFolder(_package.fd.get(), parent);
  return saved;
}

ArchiveResult<Done> Archive::giveUpMerge(const ArchiveError& reason) {
  const std::string parent = _index.merging.value().parent;
  ArchiveIndex next = _index;
  std::erase(next.points, parent);
  next.kept.push_back(parent);
  next.merging.reset();
  ArchiveResult<Done> saved = saveIndex(std::move(next));
  if (saved) _mergeGivenUp = reason;
  return saved;
}

bool Archive::takesBackIndex() {
  // A save whose very last sync failed has put the new index in place, where it must not outlive the point's
  // folder.
  Archive onDisk;
  onDisk._package = {FileDescriptor(::fcntl(_package.fd.get(), F_DUPFD_CLOEXEC, 0)), _package.path};
  if (!onDisk._package.fd || !onDisk.readIndex()) return false;
  return onDisk._index == _index || saveAtomically(_package, indexName, textOf(_index)).hasValue();
}

}  // namespace zpk
