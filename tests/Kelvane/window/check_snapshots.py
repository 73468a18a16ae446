"""Runs the application in snapshot mode and checks what it leaves behind: every shot as a
PNG at the device pixel ratio (the main window's at its size, the tray panel 320 wide,
Settings at its fixed size), and one "[snap] " line per main-window shot. The run is the real
start of the application, so it also fails on any QML error or warning."""

import os
import struct
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
from app_harness import qml_problems, report  # noqa: E402

WINDOW_SHOTS = ["warmup"] + [base + suffix for suffix in ("", "-dark")
                             for base in ("empty", "queue", "shrink", "video", "document")]
VIEW_SHOTS = [base + suffix for suffix in ("", "-dark")
              for base in ("dock-images", "dock-video", "menubar", "settings")]
SHOTS = WINDOW_SHOTS + VIEW_SHOTS


def png_size(path):
    with open(path, "rb") as png:
        header = png.read(24)
    if header[:8] != b"\x89PNG\r\n\x1a\n" or header[12:16] != b"IHDR":
        raise ValueError(f"{path} is not a PNG")
    return struct.unpack(">II", header[16:24])


def main(application, scale):
    failures = []
    with tempfile.TemporaryDirectory() as temp:
        # Parents that do not exist yet must be created.
        directory = os.path.join(temp, "not", "there", "yet")
        environment = dict(os.environ, KELVANE_SNAPSHOT_DIR=directory, QT_QPA_PLATFORM="offscreen",
                           QT_SCALE_FACTOR=scale, XDG_CONFIG_HOME=os.path.join(temp, "config"))
        environment.pop("KELVANE_SNAPSHOT_STAY", None)
        run = subprocess.run([application], env=environment, capture_output=True, text=True,
                             timeout=120)
        if run.returncode != 0:
            failures.append(f"exit status {run.returncode}: {run.stderr}")
        failures.extend(f"QML: {line}" for line in qml_problems(run.stderr))
        lines = [line for line in run.stdout.splitlines() if line.startswith("[snap] ")]
        named = [line.split()[1] for line in lines]
        if named != WINDOW_SHOTS:
            failures.append(f"[snap] lines name {named}, expected {WINDOW_SHOTS}")
        for line in lines:
            for field in ("window=", "content=", "fitting=", "screen="):
                if field not in line:
                    failures.append(f"no {field} in: {line}")
        factor = float(scale)
        for shot in SHOTS:
            path = os.path.join(directory, shot + ".png")
            if not os.path.exists(path):
                failures.append(f"{shot}.png was not written")
                continue
            width, height = png_size(path)
            if shot.startswith("menubar"):
                # As tall as its content: the header, the demo jobs and the buttons.
                good = width == round(320 * factor) and height > 200 * factor
                expected = f"320 wide and taller than 200 at scale {scale}"
            elif shot.startswith("dock"):
                # The dock's 232 points and 30 on each side; its header and tiles.
                good = width == round(292 * factor) and height > 200 * factor
                expected = f"292 wide and taller than 200 at scale {scale}"
            elif shot.startswith("settings"):
                good = (width, height) == (round(480 * factor), round(360 * factor))
                expected = (round(480 * factor), round(360 * factor))
            else:
                expected = (round(1120 * factor), round(720 * factor))
                good = (width, height) == expected
            if not good:
                failures.append(f"{shot}.png is {(width, height)}, expected {expected}")
        leftovers = set(os.listdir(directory)) - {shot + ".png" for shot in SHOTS} if os.path.isdir(directory) else set()
        if leftovers:
            failures.append(f"unexpected files: {sorted(leftovers)}")
    report(failures)


if __name__ == "__main__":
    main(sys.argv[1], sys.argv[2] if len(sys.argv) > 2 else "1")
