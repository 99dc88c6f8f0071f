#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "helper/archive/ArchiveError.h"
#include "helper/archive/Bytes.h"
#include "helper/process/CancelFlag.h"
#include "platform/posix/FileDescriptor.h"

namespace zpk {

// A file or folder that is open, with the name it is reported under.
struct OpenFile {
  FileDescriptor fd;
  std::string path;
};

// Whole reads and writes at a place: interrupted and partial calls go on, anything else is an error value.
ArchiveResult<Done> writeAt(const OpenFile& file, std::uint64_t offset, ByteSpan bytes);
// A file that ends before the last byte is an error too.
ArchiveResult<Done> readAt(const OpenFile& file, std::uint64_t offset, std::span<std::byte> bytes);
ArchiveResult<std::uint64_t> sizeOf(const OpenFile& file);
// Whether the file has more than one name: hard links.
bool hasOtherNames(const OpenFile& file);

// Hands [offset, offset + size) to the device and waits for what was handed over before it, so that a long sequence
// of writes never leaves much to the final sync.
ArchiveResult<Done> startWriteback(const OpenFile& file, std::uint64_t offset, std::uint64_t size);

// Makes the file durable. The sync runs on a thread of its own and a descriptor of its own: a raised `cancel` is
// answered at once even when the device is not, and the sync then ends unheard.
ArchiveResult<Done> syncFile(const OpenFile& file, const CancelFlag& cancel);
// The same for a folder's entries, of which some file systems have nothing to sync and say so.
ArchiveResult<Done> syncFolder(const OpenFile& folder, const CancelFlag& cancel);

// A new file that did not exist before, in an open folder. The folders of an archive keep others out, not its
// files.
ArchiveResult<OpenFile> createIn(const OpenFile& folder, const std::string& name);
ArchiveResult<OpenFile> openIn(const OpenFile& folder, const std::string& name);
// For reading and writing; the file is there.
ArchiveResult<OpenFile> openForUpdateIn(const OpenFile& folder, const std::string& name);
ArchiveResult<OpenFile> openFolder(const std::string& path);
ArchiveResult<OpenFile> openFolderIn(const OpenFile& folder, const std::string& name);
ArchiveResult<Done> renameIn(const OpenFile& folder, const std::string& from, const std::string& to);
// From one folder to another of the same file system; what has the name there is replaced.
ArchiveResult<Done> moveFile(const OpenFile& from, const OpenFile& to, const std::string& name);
// Bytes that can still be written to the file system of that folder.
ArchiveResult<std::uint64_t> freeBytes(const OpenFile& folder);

// The content of a small file; a larger one than `limit` counts as damaged.
ArchiveResult<std::string> readText(const OpenFile& folder, const std::string& name, std::uint64_t limit);

// Replaces a small file as a whole and durably; every failure but that of the very last sync keeps the old one.
ArchiveResult<Done> saveAtomically(const OpenFile& folder, const std::string& name, const std::string& text);

// The ending of the name of an image or map that is not complete.
inline constexpr const char* unfinishedSuffix = ".part";

}  // namespace zpk
