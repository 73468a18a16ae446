"""Times the application shell: a cold start of `kelvane` to its first frame drawn, and a
second launch handing a file to the running instance until the job is queued (the second
launch ends once the first has queued it). Median of 10 each. Prints numbers; asserts
nothing.

    python3 bench/shell_latency.py build/Kelvane/kelvane [--platform xcb|offscreen]
"""

import os
import statistics
import subprocess
import sys
import tempfile
import struct
import time
import zlib


def write_png(path, width=8, height=8):
    def chunk(kind, data):
        body = kind + data
        return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body))
    rows = b"".join(b"\x00" + b"\x80\x80\x80" * width for _ in range(height))
    with open(path, "wb") as out:
        out.write(b"\x89PNG\r\n\x1a\n")
        out.write(chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)))
        out.write(chunk(b"IDAT", zlib.compress(rows)))
        out.write(chunk(b"IEND", b""))


def first_frame_seconds(application, environment):
    environment = dict(environment, QT_LOGGING_RULES="qt.scenegraph.time.renderloop=true")
    began = time.monotonic()
    process = subprocess.Popen([application], env=environment, stdout=subprocess.DEVNULL,
                               stderr=subprocess.PIPE, text=True)
    try:
        for line in process.stderr:
            if "Frame rendered" in line or "frame rendered" in line or "Frame prepared" in line:
                return time.monotonic() - began
        raise RuntimeError("the application ended before drawing a frame")
    finally:
        process.terminate()
        process.wait(30)


def forwarding_seconds(application, environment, picture):
    began = time.monotonic()
    subprocess.run([application, picture], env=environment, check=True,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return time.monotonic() - began


def main(application, platform):
    with tempfile.TemporaryDirectory() as temp:
        runtime = os.path.join(temp, "runtime")
        os.mkdir(runtime, 0o700)
        environment = dict(os.environ, QT_QPA_PLATFORM=platform, XDG_RUNTIME_DIR=runtime,
                           XDG_CONFIG_HOME=os.path.join(temp, "config"))
        environment.pop("KELVANE_SNAPSHOT_DIR", None)
        starts = [first_frame_seconds(application, environment) for _ in range(10)]
        print(f"cold start to first frame: median {statistics.median(starts) * 1000:.0f} ms "
              f"(min {min(starts) * 1000:.0f}, max {max(starts) * 1000:.0f})")

        first = subprocess.Popen([application], env=environment, stdout=subprocess.DEVNULL,
                                 stderr=subprocess.DEVNULL)
        try:
            time.sleep(3)
            picture = os.path.join(temp, "photo.png")
            write_png(picture)
            hops = [forwarding_seconds(application, environment, picture) for _ in range(10)]
            print(f"forwarding to the running instance: median "
                  f"{statistics.median(hops) * 1000:.0f} ms "
                  f"(min {min(hops) * 1000:.0f}, max {max(hops) * 1000:.0f})")
        finally:
            first.terminate()
            first.wait(30)


if __name__ == "__main__":
    arguments = sys.argv[1:]
    platform = "offscreen"
    if "--platform" in arguments:
        index = arguments.index("--platform")
        platform = arguments[index + 1]
        del arguments[index:index + 2]
    main(arguments[0], platform)
