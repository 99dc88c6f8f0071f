"""GPTs that no tool writes: with other sector sizes, and with entries that contradict each other."""

import os
import struct
import uuid
import zlib

ENTRY_SIZE, ENTRY_COUNT, HEADER_SIZE = 128, 128, 92


def write(path, sector, disk_guid, partitions):
    """A GPT for sectors of any size. `partitions`: (type GUID, first sector, count of sectors, name)."""
    size = os.path.getsize(path)
    last = size // sector - 1
    table_sectors = ENTRY_SIZE * ENTRY_COUNT // sector
    entries = bytearray(ENTRY_SIZE * ENTRY_COUNT)
    for number, (kind, first, count, name) in enumerate(partitions):
        struct.pack_into("<16s16sQQQ72s", entries, number * ENTRY_SIZE, uuid.UUID(kind).bytes_le,
                         uuid.UUID(int=number + 1).bytes_le, first, first + count - 1, 0, name.encode("utf-16-le"))
    protective = bytearray(sector)
    struct.pack_into("<BBBBBBBBII", protective, 446, 0, 0, 2, 0, 0xEE, 0xFF, 0xFF, 0xFF, 1, min(last, 0xFFFFFFFF))
    protective[510:512] = b"\x55\xaa"
    with open(path, "r+b") as file:
        file.write(protective)
        for here, other, table in ((1, last, 2), (last, 1, last - table_sectors)):
            header = bytearray(HEADER_SIZE)
            struct.pack_into("<8sIIIIQQQQ16sQIII", header, 0, b"EFI PART", 0x10000, HEADER_SIZE, 0, 0, here, other,
                             2 + table_sectors, last - table_sectors - 1, uuid.UUID(disk_guid).bytes_le, table,
                             ENTRY_COUNT, ENTRY_SIZE, 0)
            put(file, sector, here, header, entries)


def rewrite_entry(path, number, first=None, last=None):
    """Changes an entry in both copies of a GPT with 512-byte sectors."""
    with open(path, "r+b") as file:
        for header_sector in (1, os.path.getsize(path) // 512 - 1):
            file.seek(header_sector * 512)
            header = bytearray(file.read(HEADER_SIZE))
            table, count, width = struct.unpack_from("<QII", header, 72)
            file.seek(table * 512)
            entries = bytearray(file.read(count * width))
            for offset, value in ((32, first), (40, last)):
                if value is not None:
                    struct.pack_into("<Q", entries, (number - 1) * width + offset, value)
            put(file, 512, header_sector, header, entries)


def put(file, sector, header_sector, header, entries):
    """Writes one copy of the table with the checksums that belong to it."""
    struct.pack_into("<I", header, 88, zlib.crc32(entries))
    struct.pack_into("<I", header, 16, 0)
    struct.pack_into("<I", header, 16, zlib.crc32(header))
    file.seek(struct.unpack_from("<Q", header, 72)[0] * sector)
    file.write(entries)
    file.seek(header_sector * sector)
    file.write(header)
