#include "helper/archive/table/TableEditor.h"

#include <libfdisk/libfdisk.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace zpk {
namespace {

struct ContextDeleter {
  void operator()(fdisk_context* context) const {
    fdisk_deassign_device(context, 1);
    fdisk_unref_context(context);
  }
};
struct TableDeleter {
  void operator()(fdisk_table* table) const { fdisk_unref_table(table); }
};
struct PartitionDeleter {
  void operator()(fdisk_partition* partition) const { fdisk_unref_partition(partition); }
};
struct TypeDeleter {
  void operator()(fdisk_parttype* type) const { fdisk_unref_parttype(type); }
};
using Context = std::unique_ptr<fdisk_context, ContextDeleter>;
using Table = std::unique_ptr<fdisk_table, TableDeleter>;
using Partition = std::unique_ptr<fdisk_partition, PartitionDeleter>;
using PartitionType = std::unique_ptr<fdisk_parttype, TypeDeleter>;

std::string reasonOf(int answer, const char* what) {
  return std::string(what) + " (" + std::strerror(answer < 0 ? -answer : answer) + ")";
}

// Behind the last used entry: the order of the entries tells how the disk is laid out.
std::size_t nextEntry(fdisk_context* context) {
  fdisk_table* raw = nullptr;
  if (fdisk_get_partitions(context, &raw) != 0) return 0;
  const Table table(raw);
  std::size_t next = 0;
  for (std::size_t i = 0; i < fdisk_table_get_nents(table.get()); ++i) {
    next = std::max(next, fdisk_partition_get_partno(fdisk_table_get_partition(table.get(), i)) + 1);
  }
  return next;
}

class Editor {
 public:
  Editor(const TableEdit& edit, fdisk_context* context) : _edit(edit), _context(context) {}

  std::string run(int disk) {
    std::string trouble = prepare(disk);
    for (const TableEditEntry& entry : _edit.entries) {
      if (trouble.empty()) trouble = add(entry);
    }
    if (!trouble.empty() || !_edit.writes) return trouble;
    const int answer = fdisk_write_disklabel(_context);
    return answer ? reasonOf(answer, "it could not be written") : std::string();
  }

 private:
  std::string prepare(int disk) {
    fdisk_disable_dialogs(_context, 1);
    fdisk_save_user_sector_size(_context, _edit.sectorSize, _edit.sectorSize);
    if (const int answer = fdisk_assign_device_by_fd(_context, disk, "disk", 0)) {
      return reasonOf(answer, "the disk could not be opened");
    }
    // What is left of other tables and volumes goes with the write.
    if (_edit.isNew) return prepareNew();
    return fdisk_is_labeltype(_context, FDISK_DISKLABEL_GPT) ? std::string() : "the disk has no sound GPT";
  }

  std::string prepareNew() {
    if (const int answer = fdisk_create_disklabel(_context, "gpt")) {
      return reasonOf(answer, "a new table could not be made");
    }
    if (_edit.diskId.empty()) return {};
    const int answer = fdisk_set_disklabel_id_from_string(_context, _edit.diskId.c_str());
    return answer ? reasonOf(answer, "the disk's identifier is not taken") : std::string();
  }

  std::string add(const TableEditEntry& entry) {
    const Partition partition(fdisk_new_partition());
    const PartitionType type(fdisk_label_parse_parttype(fdisk_get_label(_context, nullptr), entry.type.c_str()));
    if (!partition || !type) return "there is no memory";
    std::size_t number = nextEntry(_context);
    fdisk_partition_set_partno(partition.get(), number);
    fdisk_partition_set_start(partition.get(), entry.start / _edit.sectorSize);
    fdisk_partition_set_size(partition.get(), entry.size / _edit.sectorSize);
    fdisk_partition_size_explicit(partition.get(), 1);
    fdisk_partition_set_type(partition.get(), type.get());
    if (!entry.name.empty()) fdisk_partition_set_name(partition.get(), entry.name.c_str());
    if (!entry.id.empty()) fdisk_partition_set_uuid(partition.get(), entry.id.c_str());
    if (const int answer = fdisk_add_partition(_context, partition.get(), &number)) {
      return reasonOf(answer, "an entry is not taken");
    }
    const int answer = fdisk_gpt_set_partition_attrs(_context, number, entry.attributes);
    return answer ? reasonOf(answer, "the attributes of an entry are not taken") : std::string();
  }

  const TableEdit& _edit;
  fdisk_context* const _context;
};

}  // namespace

Expected<Done, std::string> editTable(int disk, const TableEdit& edit) {
  const Context context(fdisk_new_context());
  if (!context) return std::string("there is no memory");
  std::string trouble = Editor(edit, context.get()).run(disk);
  if (!trouble.empty()) return trouble;
  return Done{};
}

}  // namespace zpk
