"""The real application, given three long clips on its command line, encodes two and keeps one
waiting. While it encodes, the folder shows nothing new (the results have no name until they
are finished). SIGTERM, as at logout, then ends it with status 0: its workers are gone,
nothing is left in the folder and nothing appears there afterwards. Prints how long the exit
took; the limit is only a guard against a hang (sanitizer builds are slow)."""

import os
import signal
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
from app_harness import app_environment, report, wait_for  # noqa: E402

HANG_GUARD_SECONDS = 20
CLIPS = ["one.mov", "two.mov", "three.mov"]


def make_clip(path):
    """Thirty seconds of picture, quick to make and long to encode."""
    subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-y", "-f", "lavfi", "-i",
                    "testsrc2=s=640x360:r=25:d=30", "-c:v", "mpeg4", "-q:v", "10", path],
                   check=True)


def children(parent):
    found = []
    for name in os.listdir("/proc"):
        if not name.isdigit():
            continue
        try:
            with open(f"/proc/{name}/stat") as stat:
                fields = stat.read().rsplit(")", 1)[1].split()
        except OSError:
            continue
        if int(fields[1]) == parent:
            found.append(int(name))
    return found


def unnamed_files_in(folder, processes):
    """Files the processes hold open in `folder` that have no name there."""
    held = []
    for process in processes:
        try:
            descriptors = os.listdir(f"/proc/{process}/fd")
        except OSError:
            continue
        for descriptor in descriptors:
            try:
                target = os.readlink(f"/proc/{process}/fd/{descriptor}")
            except OSError:
                continue
            if target.startswith(folder + "/") and target.endswith(" (deleted)"):
                held.append(target)
    return held


def alive(process):
    try:
        with open(f"/proc/{process}/stat") as stat:
            return stat.read().rsplit(")", 1)[1].split()[0] != "Z"
    except OSError:
        return False


def main(application):
    failures = []
    with tempfile.TemporaryDirectory() as temp:
        folder = os.path.join(temp, "clips")
        os.mkdir(folder)
        make_clip(os.path.join(folder, CLIPS[0]))
        for name in CLIPS[1:]:
            os.link(os.path.join(folder, CLIPS[0]), os.path.join(folder, name))
        environment = app_environment(temp)
        app = subprocess.Popen([application, "--recipe", "videoHEVC"]
                               + [os.path.join(folder, name) for name in CLIPS],
                               env=environment, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE,
                               text=True)
        try:
            if not wait_for(lambda: len(unnamed_files_in(folder, children(app.pid))) >= 2, 120):
                failures.append("two encodes never began writing "
                                f"(status {app.poll()}, folder {sorted(os.listdir(folder))})")
                return failures
            if sorted(os.listdir(folder)) != sorted(CLIPS):
                failures.append(f"visible mid-encode: {sorted(os.listdir(folder))}")
            workers = children(app.pid)

            started = time.monotonic()
            app.send_signal(signal.SIGTERM)
            try:
                status = app.wait(HANG_GUARD_SECONDS)
            except subprocess.TimeoutExpired:
                failures.append(f"still running {HANG_GUARD_SECONDS} s after SIGTERM")
                return failures
            print(f"the application exited {time.monotonic() - started:.2f} s after SIGTERM")
            if status != 0:
                failures.append(f"exited with status {status}: {app.stderr.read()}")
            if not wait_for(lambda: not any(alive(worker) for worker in workers), 10):
                failures.append("a worker outlived the application")
            if sorted(os.listdir(folder)) != sorted(CLIPS):
                failures.append(f"left behind: {sorted(os.listdir(folder))}")
            time.sleep(2)
            if sorted(os.listdir(folder)) != sorted(CLIPS):
                failures.append(f"appeared after the exit: {sorted(os.listdir(folder))}")
        finally:
            if app.poll() is None:
                app.kill()
                app.wait()
    return failures


if __name__ == "__main__":
    report(main(sys.argv[1]))
