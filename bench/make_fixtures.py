#!/usr/bin/env python3
"""Writes the benchmark inputs into a folder: a long Markdown report with headings,
tables and pictures, which the benchmark turns into DOCX with pandoc."""
import struct
import sys
import zlib
from pathlib import Path


def png(width, height, seed):
    raw = b"".join(
        b"\x00" + b"".join(bytes(((x * 7 + y * 3 + seed) % 256, (x * 2 + seed) % 256, (y * 5) % 256))
                           for x in range(width))
        for y in range(height)
    )

    def chunk(kind, data):
        body = kind + data
        return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body) & 0xFFFFFFFF)

    header = struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(raw, 6)) + chunk(b"IEND", b"")


def report(pages, pictures):
    words = ("quarterly revenue grew across every region while costs held steady and the team "
             "shipped the new release on time with fewer defects than last year").split()
    lines = ["% Annual report", ""]
    for page in range(pages):
        lines += [f"# Chapter {page + 1}", ""]
        for paragraph in range(6):
            text = " ".join(words[(page + paragraph + i) % len(words)] for i in range(70))
            lines += [f"**Finding {paragraph + 1}.** {text.capitalize()}, *as measured*.", ""]
        if page % 5 == 0:
            lines += ["| Region | Q1 | Q2 | Q3 |", "|---|---|---|---|"]
            lines += [f"| Region {r} | {r * 10} | {r * 11} | {r * 12} |" for r in range(1, 6)]
            lines += [""]
        if page % (pages // pictures) == 0:
            lines += [f"![Figure {page}](figure{page % pictures}.png)", ""]
    return "\n".join(lines)


def main():
    folder = Path(sys.argv[1])
    pages = int(sys.argv[2]) if len(sys.argv) > 2 else 100
    pictures = 5
    folder.mkdir(parents=True, exist_ok=True)
    for index in range(pictures):
        (folder / f"figure{index}.png").write_bytes(png(400, 300, index * 40))
    (folder / "report.md").write_text(report(pages, pictures), encoding="utf-8")


if __name__ == "__main__":
    main()
