"""An HFS+ volume with nothing in it: header, allocation, extents and catalog, enough for any reader of the format.

All numbers on the volume are big-endian. Layout in blocks: boot area and header, allocation bitmap, extents tree,
catalog tree, free, and last the block with the copy of the header.
"""

import struct

BLOCK = 4096
NODE = 4096
# Seconds from 1904 to a day in 2023; fixed, so that the same call gives the same bytes.
CREATED = 2082844800 + 1690000000
ROOT_PARENT, ROOT_FOLDER = 1, 2
EXTENTS_FILE, CATALOG_FILE, ALLOCATION_FILE = 3, 4, 6


def make(path, name):
    """Writes the volume into the existing file `path`, over its whole length."""
    with open(path, "r+b") as file:
        file.seek(0, 2)
        total = file.tell() // BLOCK
        bitmap_blocks = -(-total // (8 * BLOCK))
        allocation = (1, bitmap_blocks)
        extents = (1 + bitmap_blocks, 1)
        catalog = (2 + bitmap_blocks, 2)
        used = 4 + bitmap_blocks
        header = volume_header(total, used, allocation, extents, catalog)
        file.seek(1024)
        file.write(header)
        file.seek(allocation[0] * BLOCK)
        file.write(bitmap(total, used, bitmap_blocks))
        file.seek(extents[0] * BLOCK)
        file.write(tree_header(depth=0, records=0, nodes=1, longest_key=10, attributes=2, comparison=0))
        file.seek(catalog[0] * BLOCK)
        file.write(tree_header(depth=1, records=2, nodes=2, longest_key=516, attributes=6, comparison=0xCF))
        file.write(catalog_leaf(name))
        file.seek(total * BLOCK - 1024)
        file.write(header)


def fork(extent):
    start, count = extent
    return struct.pack(">QII", count * BLOCK, count * BLOCK, count) + struct.pack(">II", start, count) + bytes(56)


def volume_header(total, used, allocation, extents, catalog):
    unmounted = 0x100
    free = total - used - 1
    head = struct.pack(">2sHI4sI", b"H+", 4, unmounted, b"10.0", 0)
    head += struct.pack(">IIIIII", CREATED, CREATED, 0, CREATED, 0, 0)  # Dates; no files, no folders.
    head += struct.pack(">IIIIII", BLOCK, total, free, used, BLOCK, BLOCK)
    head += struct.pack(">IIQ", 16, 1, 1)  # Next file number, write count, encodings.
    head += bytes(24) + struct.pack(">Q", 0x5A504B0000000000 | total)  # Finder data ends with the volume's identifier.
    head += fork(allocation) + fork(extents) + fork(catalog) + bytes(160)
    assert len(head) == 512
    return head


def bitmap(total, used, blocks):
    bits = bytearray(blocks * BLOCK)
    for block in list(range(used)) + [total - 1]:
        bits[block // 8] |= 0x80 >> (block % 8)
    return bytes(bits)


def node(kind, height, records):
    body = struct.pack(">IIbBHH", 0, 0, kind, height, len(records), 0)
    offsets = []
    for record in records:
        offsets.append(len(body))
        body += record
    offsets.append(len(body))
    tail = b"".join(struct.pack(">H", offset) for offset in reversed(offsets))
    return body + bytes(NODE - len(body) - len(tail)) + tail


def tree_header(depth, records, nodes, longest_key, attributes, comparison):
    leaf = 1 if depth else 0
    header = struct.pack(">HIIIIHHIIHIBBI", depth, leaf, records, leaf, leaf, NODE, longest_key, nodes, 0, 0, NODE, 0,
                         comparison, attributes) + bytes(64)
    map_size = NODE - 14 - 106 - 128 - 8
    used = (0xFF << (8 - nodes)) & 0xFF
    return node(1, 0, [header, bytes(128), bytes([used]) + bytes(map_size - 1)])


def catalog_leaf(name):
    characters = name.encode("utf-16-be")
    unicode_name = struct.pack(">H", len(characters) // 2) + characters
    folder = struct.pack(">HHII5I", 1, 0, 0, ROOT_FOLDER, CREATED, CREATED, CREATED, CREATED, 0)
    folder += struct.pack(">IIBBHI", 0, 0, 0, 0, 0o40755, 1) + bytes(32) + struct.pack(">II", 0, 0)
    thread = struct.pack(">HHI", 3, 0, ROOT_PARENT) + unicode_name
    return node(-1, 1, [key(ROOT_PARENT, unicode_name) + folder, key(ROOT_FOLDER, bytes(2)) + thread])


def key(parent, unicode_name):
    content = struct.pack(">I", parent) + unicode_name
    return struct.pack(">H", len(content)) + content
