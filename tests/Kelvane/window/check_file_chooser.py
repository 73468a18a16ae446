"""Starts the real application in an X session (Xvfb with a window manager) on the platform it
picks by default, opens the file chooser with Ctrl+O, closes it, opens it again and chooses a
picture, which must then be converted beside itself. Exits 77 (skipped) only where no X
server can start."""

import os
import shutil
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
from app_harness import qml_problems, report, wait_for, write_picture  # noqa: E402

SKIPPED = 77


def start_x_server():
    """An Xvfb on a free display, or None when none can start."""
    if not shutil.which("Xvfb"):
        return None, None
    read, write = os.pipe()
    server = subprocess.Popen(["Xvfb", "-displayfd", str(write), "-screen", "0", "1400x900x24",
                               "-nolisten", "tcp"], pass_fds=[write],
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    os.close(write)
    with os.fdopen(read) as pipe:
        number = pipe.readline().strip()
    if not number:
        server.wait()
        return None, None
    return server, ":" + number


def xdotool(display, *arguments, timeout=30):
    try:
        run = subprocess.run(["xdotool", *arguments], env=dict(os.environ, DISPLAY=display),
                             capture_output=True, text=True, timeout=timeout)
    except subprocess.TimeoutExpired:
        return ""
    return run.stdout.strip()


def main(application):
    for tool in ("openbox", "xdotool"):
        if not shutil.which(tool):
            print(f"FAIL: {tool} is not installed (scripts/install-deps.sh lists it)")
            return 1
    server, display = start_x_server()
    if server is None:
        print("SKIPPED: no X server could start here")
        return SKIPPED
    failures = []
    with tempfile.TemporaryDirectory() as temp:
        files = os.path.join(temp, "files")
        os.mkdir(files)
        picture = os.path.join(files, "photo.png")
        write_picture(picture, "16x16")
        environment = {key: value for key, value in os.environ.items()
                       if key not in ("QT_QPA_PLATFORM", "QT_SCALE_FACTOR",
                                      "DBUS_SESSION_BUS_ADDRESS", "QT_QPA_PLATFORMTHEME")}
        environment.update(DISPLAY=display, XDG_CONFIG_HOME=os.path.join(temp, "config"),
                           XDG_RUNTIME_DIR=temp, HOME=temp)
        manager = app = None
        stderr = ""
        try:
            manager = subprocess.Popen(["openbox"], env=environment, stdout=subprocess.DEVNULL,
                                       stderr=subprocess.DEVNULL)
            app = subprocess.Popen([os.path.abspath(application)], env=environment, cwd=files,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
            window = xdotool(display, "search", "--sync", "--onlyvisible", "--name", "^Kelvane$")
            if not window:
                failures.append("the window never appeared")
            else:
                window = window.split()[0]
                title = xdotool(display, "getwindowname", window)
                if title != "Kelvane":
                    failures.append(f"the window is titled {title!r}, not 'Kelvane'")
                xdotool(display, "windowactivate", "--sync", window)
                # Open and close.
                xdotool(display, "key", "--clearmodifiers", "ctrl+o")
                time.sleep(2)
                if app.poll() is not None:
                    failures.append(f"opening the chooser ended the application ({app.returncode})")
                else:
                    xdotool(display, "key", "Escape")
                    time.sleep(1)
                    # Open again and choose the picture by typing its path.
                    xdotool(display, "key", "--clearmodifiers", "ctrl+o")
                    time.sleep(2)
                    xdotool(display, "key", "--clearmodifiers", "ctrl+l")
                    time.sleep(0.5)
                    xdotool(display, "type", "--delay", "20", picture)
                    xdotool(display, "key", "Return")
                    result = os.path.join(files, "photo (converted).jpg")
                    if not wait_for(lambda: os.path.exists(result), 30):
                        failures.append("choosing photo.png converted nothing: "
                                        + ", ".join(sorted(os.listdir(files))))
                    if app.poll() is not None:
                        failures.append(f"the application ended ({app.returncode})")
        finally:
            if app is not None:
                if app.poll() is None:
                    app.terminate()
                try:
                    _, stderr = app.communicate(timeout=10)
                except subprocess.TimeoutExpired:
                    app.kill()
                    _, stderr = app.communicate()
            if manager is not None:
                manager.terminate()
                manager.wait()
            server.terminate()
            server.wait()
        failures.extend(f"QML: {line}" for line in qml_problems(stderr))
        if "ERROR: AddressSanitizer" in stderr or "runtime error:" in stderr:
            failures.append("sanitizer report:\n" + stderr)
    report(failures)


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
