"""What the scripts that start the real application share: its environment, pictures to hand
it, waiting, reporting, and what it prints that means its interface is broken (a QML module
that is not installed, a component that failed to load, a script error or a binding that
cannot hold)."""

import os
import re
import subprocess
import sys
import time

# Qt's QML engine names the file and line ("qrc:/…/RootView.qml:12:5: …") or the engine.
_QML_PROBLEM = re.compile(
    r"\.qml:\d+|qrc:/|QQmlApplicationEngine|QQmlComponent|is not installed|TypeError|"
    r"ReferenceError|Binding loop|Cannot assign|Unable to assign|non-native|[Ff]ailed to load")


def qml_problems(stderr):
    """The lines of `stderr` that report a fault of the QML interface."""
    return [line for line in stderr.splitlines() if _QML_PROBLEM.search(line)]


def app_environment(temp):
    """An off-screen session of its own under `temp`: runtime folder, settings, no snapshots."""
    runtime = os.path.join(temp, "runtime")
    os.mkdir(runtime, 0o700)
    environment = dict(os.environ, QT_QPA_PLATFORM="offscreen", XDG_RUNTIME_DIR=runtime,
                       XDG_CONFIG_HOME=os.path.join(temp, "config"))
    environment.pop("KELVANE_SNAPSHOT_DIR", None)
    return environment


def write_picture(path, size="8x8"):
    """A small grey picture, in the format its name's extension says."""
    subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-y", "-f", "lavfi", "-i",
                    f"color=gray:s={size}", "-frames:v", "1", path], check=True)


def wait_for(condition, seconds, step=0.1):
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        if condition():
            return True
        time.sleep(step)
    return condition()


def report(failures):
    """Prints each failure and exits 1 when there is one."""
    for failure in failures:
        print("FAIL:", failure)
    sys.exit(1 if failures else 0)
