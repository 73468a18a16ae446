"""Small files that unfold into a great deal: the inputs that decide a worker's peak memory.
Made here with zlib and zipfile; a few hundred kilobytes each."""

import pathlib
import random
import struct
import zipfile
import zlib


def _png_chunk(kind, data):
    return (struct.pack(">I", len(data)) + kind + data
            + struct.pack(">I", zlib.crc32(kind + data) & 0xFFFFFFFF))


def _png(width, height, rows):
    """A grey PNG of the given size whose pixel data is `rows` rows of zeros (fewer rows
    than the header claims makes a truncated bomb)."""
    header = struct.pack(">IIBBBBB", width, height, 8, 0, 0, 0, 0)
    compressor = zlib.compressobj(9)
    row = b"\0" * (width + 1)
    data = b"".join(compressor.compress(row) for _ in range(rows)) + compressor.flush()
    return (b"\x89PNG\r\n\x1a\n" + _png_chunk(b"IHDR", header) + _png_chunk(b"IDAT", data)
            + _png_chunk(b"IEND", b""))


def _docx(path, paragraphs, varied):
    # Varied words compress like a real document and pass the reader's expansion-ratio
    # check (a huge document); one sentence repeated is a zip bomb the reader refuses.
    rng = random.Random(7) if varied else random.Random(0)
    words = ["report", "quarter", "sales", "north", "growth", "margin", "table", "review",
             "customer", "forecast", "budget", "team", "plan", "risk", "market", "share"]
    body = "".join(
        "<w:p><w:r><w:t>"
        + (" ".join(rng.choice(words) for _ in range(rng.randrange(4, 14))) if varied
           else "All work and no play.")
        + "</w:t></w:r></w:p>" for _ in range(paragraphs))
    document = ('<?xml version="1.0" encoding="UTF-8" standalone="yes"?>'
                '<w:document xmlns:w="http://schemas.openxmlformats.org/wordprocessingml/2006/main">'
                f"<w:body>{body}</w:body></w:document>")
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as archive:
        archive.writestr("[Content_Types].xml",
                         '<?xml version="1.0"?><Types xmlns="http://schemas.openxmlformats.org/'
                         'package/2006/content-types"><Override PartName="/word/document.xml" '
                         'ContentType="application/vnd.openxmlformats-officedocument.'
                         'wordprocessingml.document.main+xml"/></Types>')
        archive.writestr("word/document.xml", document)


def _zip(path, megabytes):
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as archive:
        with archive.open("zeros.bin", "w", force_zip64=True) as entry:
            block = b"\0" * (1 << 20)
            for _ in range(megabytes):
                entry.write(block)


def make(folder):
    folder = pathlib.Path(folder)
    made = {
        # Just under the 200-megapixel limit: decoded, 196 MB of grey.
        "bomb-png-196mp.png": _png(14000, 14000, 14000),
        # Far over it; the header alone must be enough to refuse it.
        "bomb-png-10gp.png": _png(100000, 100000, 16),
    }
    for name, data in made.items():
        (folder / name).write_bytes(data)
    _docx(folder / "bomb-docx-100k-paragraphs.docx", 100_000, varied=True)
    _docx(folder / "bomb-docx-repeated.docx", 200_000, varied=False)
    _zip(folder / "bomb-zip-300mb.zip", 300)
    return sorted(folder.glob("bomb-*"))
