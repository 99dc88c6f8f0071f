"""What a used Windows volume holds: a system tree, programs, documents, pictures, and the leftovers of deleted files."""

import dataclasses
import io
import random
import zipfile

WORDS = ("account agreement annual appendix approve archive balance board budget calendar change chapter client "
         "column committee contract copy cost customer date decision delivery department design detail draft "
         "estimate figure final finance forecast garden holiday hotel house invoice journey kitchen letter list "
         "market meeting member minutes month note office offer order page paper payment picture plan policy "
         "price product project proposal quarter question reason receipt record report request result revenue "
         "review sample schedule school section share signature summary supplier table target team travel "
         "update value version visit volume week window year").split()
PEOPLE = ("Anna", "Jonas")
LIBRARIES = ("kernel", "user", "shell", "graphics", "network", "audio", "print", "crypto", "media", "input")


@dataclasses.dataclass
class Sizes:
    files: int
    total: int  # Bytes that all files together come near to.


def write(root, sizes, seed):
    """Fills `root`. The same seed gives the same names and bytes."""
    chance = random.Random(seed)
    budget = sizes.total
    system(root, chance, max(6, sizes.files // 4), budget * 3 // 10)
    for person in PEOPLE:
        home = root / "Users" / person
        documents(home / "Documents", chance, max(6, sizes.files // 4), budget // 10)
        pictures(home / "Pictures", chance, max(2, sizes.files // 10), budget // 5)
        (home / "AppData" / "Local" / "Temp").mkdir(parents=True)
    leftovers(root / "Users" / PEOPLE[0] / "Downloads", chance, max(3, sizes.files // 20), budget // 10)
    save(root / "pagefile.sys", bytes(budget // 20))


def save(path, content):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(content)


def prose(chance, size):
    lines, length = [], 0
    while length < size:
        words = chance.choices(WORDS, k=chance.randint(6, 14))
        lines.append(" ".join(words).capitalize() + ".\r\n")
        length += len(lines[-1])
    return "".join(lines)[:size].encode()


def program(chance, size):
    """Bytes that compress about as programs do: a vocabulary of short sequences with noise between."""
    vocabulary = [chance.randbytes(chance.randint(4, 24)) for _ in range(200)]
    block = io.BytesIO()
    while block.tell() < 64 << 10:
        block.write(chance.choice(vocabulary))
        block.write(chance.randbytes(chance.randint(0, 9)))
    pieces = [b"MZ" + bytes(126)]
    while sum(map(len, pieces)) < size:
        pieces.append(chance.randbytes(4 << 10) + block.getvalue())
    return b"".join(pieces)[:size]


def system(root, chance, count, total):
    save(root / "bootmgr", program(chance, 400 << 10))
    save(root / "Boot" / "BCD", b"regf" + program(chance, 28 << 10))
    folders = ("Windows/System32", "Windows/System32/drivers", "Windows/SysWOW64", "Program Files/Office")
    for number in range(count):
        name = f"{chance.choice(LIBRARIES)}{number:03}.{chance.choice(('dll', 'dll', 'exe', 'sys'))}"
        save(root / chance.choice(folders) / name, program(chance, int(total / count * chance.uniform(0.5, 1.5))))
    for hive in ("SYSTEM", "SOFTWARE", "SAM"):
        save(root / "Windows/System32/config" / hive, b"regf" + program(chance, total // 100))
    save(root / "Windows/Logs/setup.log", prose(chance, 200 << 10))


def documents(folder, chance, count, total):
    for number in range(count):
        title = " ".join(chance.choices(WORDS, k=2)).title()
        text = prose(chance, int(total / count * chance.uniform(0.2, 2)))
        kind = chance.choice(("txt", "txt", "docx", "csv"))
        subfolder = folder / chance.choice((".", "Work", "Private", "Work/Übersicht 2023"))
        save(subfolder / f"{title} {number}.{kind}", packed(text) if kind == "docx" else text)


def packed(text):
    buffer = io.BytesIO()
    with zipfile.ZipFile(buffer, "w", zipfile.ZIP_DEFLATED) as archive:
        archive.writestr(zipfile.ZipInfo("word/document.xml"), text)
    return buffer.getvalue()


def pictures(folder, chance, count, total):
    for number in range(count):
        content = b"\xff\xd8\xff\xe0" + chance.randbytes(int(total / count * chance.uniform(0.5, 1.5)))
        save(folder / "2023 Summer" / f"IMG_{number:04}.JPG", content)


def leftovers(folder, chance, count, total):
    """Files that were there once: their clusters are free but still hold what was in them."""
    for number in range(count):
        save(folder / f"setup{number}.exe", chance.randbytes(total // count))
    for number in range(1, count):
        (folder / f"setup{number}.exe").unlink()
