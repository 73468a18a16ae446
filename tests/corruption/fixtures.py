"""Clean files of every format the converter reads, made here: media and plain images with
the ffmpeg tool, text formats written directly, and the formats only our converter writes
(HEIC, DOCX, ODT, PDF) with the converter itself from the files above."""

import json
import pathlib
import shutil
import subprocess
import zipfile

RTF = r"""{\rtf1\ansi\deff0{\fonttbl{\f0 Times New Roman;}}{\colortbl;\red200\green0\blue0;}
\f0\fs24 {\b Quarterly} report\par
{\cf1 Red} text, {\i italic} and a list:\par
{\*\pn\pnlvlblt}{\pntext \'95\tab}First item\par
\trowd\cellx2000\cellx4000 A\cell B\cell\row
\u8364? and {\field{\*\fldinst HYPERLINK "https://example.org"}{\fldrslt a link}}\par}
"""

HTML = """<!DOCTYPE html><html><head><meta charset="utf-8"><title>Report</title></head><body>
<h1>Quarterly report</h1><p>Some <b>bold</b>, <i>italic</i> and <a href="https://example.org">a link</a>.</p>
<ul><li>First</li><li>Second<ul><li>Nested</li></ul></li></ul>
<table border="1"><tr><th>Region</th><th>Sales</th></tr><tr><td>North</td><td>1 200 €</td></tr></table>
</body></html>
"""

# Extension → ffmpeg arguments after the lavfi inputs (0: picture, 1: sound).
_IMAGES = {
    "jpg": [],
    "png": [],
    "gif": [],
    "tiff": [],
    "bmp": [],
    "webp": ["-c:v", "libwebp"],
    "tga": [],
    "pbm": ["-pix_fmt", "monob"],
    "jp2": ["-c:v", "jpeg2000"],
}
_VIDEOS = {
    "mp4": ["-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p", "-c:a", "aac"],
    "mov": ["-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p", "-c:a", "aac"],
    "mkv": ["-c:v", "libx264", "-preset", "ultrafast", "-c:a", "libopus"],
    "webm": ["-c:v", "libvpx", "-deadline", "realtime", "-c:a", "libopus"],
    "avi": ["-c:v", "mpeg4", "-c:a", "libmp3lame"],
    "ts": ["-c:v", "libx264", "-preset", "ultrafast", "-c:a", "aac"],
}
_SOUNDS = {
    "mp3": ["-c:a", "libmp3lame"],
    "m4a": ["-c:a", "aac"],
    "wav": [],
    "aiff": [],
    "caf": [],
    "flac": [],
    "ogg": ["-c:a", "libvorbis"],
    "opus": ["-c:a", "libopus"],
}


def _ffmpeg(arguments, output):
    subprocess.run(["ffmpeg", "-v", "error", "-y", *arguments, str(output)], check=True,
                   stdin=subprocess.DEVNULL)


def _picture(size):
    return ["-f", "lavfi", "-i", f"testsrc2=size={size}:rate=10:duration=1"]


def _sound():
    return ["-f", "lavfi", "-i", "sine=frequency=440:sample_rate=44100:duration=1"]


def _converted(cli, recipe, source, folder, name):
    """Runs our converter and moves its one result to folder/name."""
    result = subprocess.run([cli, "convert", "--json", "--recipe", recipe,
                             str(source)], capture_output=True, text=True, check=False)
    reports = json.loads(result.stdout)
    outputs = reports[0]["outputs"] if reports else []
    if len(outputs) != 1:
        raise RuntimeError(f"{recipe} of {source.name} made no fixture: {result.stdout}")
    target = folder / name
    shutil.move(outputs[0], target)
    return target


def _zip(path):
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as archive:
        archive.writestr("Notes/readme.txt", "Read me first.\n" * 40)
        archive.writestr("Notes/empty/", "")
        archive.writestr("photo-data.bin", bytes(range(256)) * 8)


def make(cli, folder):
    """Writes one clean file per format into folder; returns their paths."""
    folder = pathlib.Path(folder)
    folder.mkdir(parents=True, exist_ok=True)
    made = []
    for extension, arguments in _IMAGES.items():
        path = folder / f"picture.{extension}"
        _ffmpeg([*_picture("96x64"), "-frames:v", "1", *arguments, "-update", "1"], path)
        made.append(path)
    for extension, arguments in _VIDEOS.items():
        path = folder / f"clip.{extension}"
        _ffmpeg([*_picture("160x120"), *_sound(), "-shortest", *arguments], path)
        made.append(path)
    for extension, arguments in _SOUNDS.items():
        path = folder / f"sound.{extension}"
        _ffmpeg([*_sound(), *arguments], path)
        made.append(path)

    texts = {
        "notes.txt": "Quarterly report\n\nFirst line\nSecond line with ü and €.\n",
        "report.html": HTML,
        "letter.rtf": RTF,
        "data.csv": "region,sales\nNorth,1200\nSouth,800\n",
    }
    for name, text in texts.items():
        (folder / name).write_text(text, encoding="utf-8")
        made.append(folder / name)
    _zip(folder / "bundle.zip")
    made.append(folder / "bundle.zip")

    source = folder.parent / "fixture-sources"
    source.mkdir(exist_ok=True)
    shutil.copy(folder / "picture.png", source / "picture.png")
    shutil.copy(folder / "report.html", source / "report.html")
    made.append(_converted(cli, "toHEIC", source / "picture.png", folder, "picture.heic"))
    made.append(_converted(cli, "docToDOCX", source / "report.html", folder, "report.docx"))
    made.append(_converted(cli, "docToODT", source / "report.html", folder, "report.odt"))
    made.append(_converted(cli, "docToPDF", source / "report.html", folder, "report.pdf"))
    shutil.rmtree(source)
    return made
