#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Expected.h"
#include "mount/virtualdisk/QrxDriveRequest.h"

namespace zpk {

// A virtual disk as the folder that its driver and its helper share: $XDG_RUNTIME_DIR/zpk/drives/<id>, where the id
// is 32 upper-case hexadecimal digits. docs/mounting.md says who writes what and when:
//
// - "request": the QrxDriveRequest, 1,056 bytes. Its helper keeps it locked (flock) for as long as the drive is
// there.
// - "keeper": the helper's process id, in decimal digits. Saved once the lock is held.
// - "media": the names of the drive's media, a line each: the whole disk, then its partitions.
// - "completion": the result code, 4 bytes, and the QrxDriveReply, 600 bytes. Saved last, once. On success the
// reply's message says what of the image is not shown, a line each; it is empty when all of it is.
// - "volumes/": the mount points of its volumes.
//
// A value that names a place; files are opened where they are asked for. Only the user can enter the folder, and
// nothing is followed that is not what it should be.
class DriveFolder {
 public:
  static constexpr const char* kRequest = "request";
  static constexpr const char* kKeeper = "keeper";
  static constexpr const char* kMedia = "media";
  static constexpr const char* kCompletion = "completion";
  static constexpr const char* kVolumes = "volumes";
  // What a file's name ends with until all of it is there.
  static constexpr const char* kUnfinished = ".new";

  DriveFolder(const std::string& drives, std::string id) : _path(drives + "/" + id), _id(std::move(id)) {}

  const std::string& path() const { return _path; }
  const std::string& id() const { return _id; }
  std::string filePath(std::string_view name) const { return _path + "/" + std::string(name); }

  // Makes the folder, with the request in it. An errno when that cannot be.
  Expected<Done, int> create(const QrxDriveRequest& request) const;
  // Nothing when there is none of that size.
  std::optional<QrxDriveRequest> request() const;

  bool saveKeeper(std::int32_t processId) const;
  // Nothing before the helper has said it. Whose number it is by now, isKept() has to say.
  std::optional<std::int32_t> keeper() const;

  void saveMedia(const std::vector<std::string>& names) const;
  // None before the helper has said them. Lines that are no such names are left out.
  std::vector<std::string> media() const;

  struct Completion {
    std::int32_t result;
    QrxDriveReply reply;
  };
  bool saveCompletion(const Completion& completion) const;
  std::optional<Completion> completion() const;

  // Whether a helper keeps the drive.
  bool isKept() const;

 private:
  std::string _path;
  std::string _id;
};

// Whether the text is a drive's id.
bool isDriveId(std::string_view text);

// The folder of all drives below the user's runtime folder, made when it is not there. An errno when either is not
// the user's alone.
Expected<std::string, int> drivesFolder(const std::string& runtimeFolder);

// The drives there are, kept or not.
std::vector<DriveFolder> allDrives(const std::string& drives);

}  // namespace zpk
