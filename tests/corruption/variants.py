"""Damaged copies of a clean file: empty, cut short, bytes flipped, size fields that lie,
and the whole file under an extension of another kind. Deterministic: the same clean file
always gives the same variants."""

import random
import struct

# Per kind, an extension of another kind that a wrong-named file pretends to be.
WRONG_EXTENSION = {
    "image": "mp4",
    "video": "pdf",
    "audio": "jpg",
    "document": "wav",
    "pdf": "docx",
    "archive": "odt",
}

# Variants in the order the quick run takes them; the quick run keeps the first few.
QUICK_VARIANTS = ("empty", "cut-half", "flipped-header", "lying-be", "lying-le", "wrong-name")


def _truncated(data, fraction):
    return data[: max(1, int(len(data) * fraction))]


def _flipped(data, rng, start, end, count):
    damaged = bytearray(data)
    end = min(end, len(damaged))
    if end <= start:
        return bytes(damaged)
    for _ in range(count):
        position = rng.randrange(start, end)
        damaged[position] ^= 1 << rng.randrange(8)
    return bytes(damaged)


def _lying(data, byte_order):
    """Finds the first few 32-bit fields near the start whose value could be a length
    (between 8 and the file's size) and makes them claim about 2 GB."""
    damaged = bytearray(data)
    pattern = ">I" if byte_order == "big" else "<I"
    changed = 0
    for offset in range(0, min(len(damaged) - 4, 512)):
        (value,) = struct.unpack_from(pattern, damaged, offset)
        if 8 <= value <= len(damaged):
            struct.pack_into(pattern, damaged, offset, 0x7FFFFFF0)
            changed += 1
            if changed == 4:
                break
    return bytes(damaged)


def variants(name, data, kind):
    """(variant name, extension or None for the original's, bytes) for one clean file."""
    rng = random.Random(name)
    made = [
        ("empty", None, b""),
        ("cut-half", None, _truncated(data, 0.5)),
        ("flipped-header", None, _flipped(data, rng, 0, 64, 4)),
        ("lying-be", None, _lying(data, "big")),
        ("lying-le", None, _lying(data, "little")),
        ("wrong-name", WRONG_EXTENSION[kind], data),
        ("cut-tenth", None, _truncated(data, 0.1)),
        ("cut-end", None, _truncated(data, 0.97)),
        ("flipped-middle", None, _flipped(data, rng, len(data) // 4, len(data), 16)),
        ("flipped-everywhere", None, _flipped(data, rng, 0, len(data), max(8, len(data) // 100))),
    ]
    return made
