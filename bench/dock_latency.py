"""Drop Dock benchmark on a virtual X server (Xvfb, openbox, xdotool): how long after a
drag's first motion the dock is on screen, for a drag of 1 file and of 1 000 files (the
difference is what reading 1 000 URLs costs), what the application itself spends reading
each drag (KELVANE_DOCK_TIMING: from the new owner to the parsed list, then suggestions,
model and panel until the dock is shown), also for 1 000 long names sent in pieces, and
its CPU use while the pointer moves with no button held, over the desktop and over the
main window. Prints numbers; asserts nothing.

Usage: python3 bench/dock_latency.py BUILD_DIR   (needs Kelvane and kelvane-test-drag-source)
"""

import os
import statistics
import subprocess
import sys
import tempfile
import time

DOCK_TITLE = "Kelvane Drop Dock"


def xdotool(*args):
    return subprocess.run(["xdotool", *map(str, args)], capture_output=True, text=True)


def dock_on_screen():
    return xdotool("search", "--onlyvisible", "--name", DOCK_TITLE).returncode == 0


def cpu_seconds(pid):
    with open(f"/proc/{pid}/stat") as stat:
        fields = stat.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def start_desktop():
    read_end, write_end = os.pipe()
    server = subprocess.Popen(["Xvfb", "-displayfd", str(write_end), "-screen", "0",
                               "1280x800x24", "-nolisten", "tcp"], pass_fds=[write_end],
                              stderr=subprocess.DEVNULL)
    os.close(write_end)
    number = os.read(read_end, 16).decode().strip()
    os.environ["DISPLAY"] = ":" + number
    manager = subprocess.Popen(["openbox"], stderr=subprocess.DEVNULL)
    time.sleep(0.5)
    return [manager, server]


def one_drag(source_program, files, in_pieces=False):
    """Seconds from the first motion of a drag of `files` to the dock being on screen."""
    source = subprocess.Popen([source_program, *(["--in-pieces"] if in_pieces else []), *files],
                              stdout=subprocess.PIPE, text=True)
    _, x, y = source.stdout.readline().split()
    x, y = int(x), int(y)
    xdotool("mousemove", x, y, "sleep", "0.2", "mousedown", "1", "sleep", "0.2")
    start = time.perf_counter()
    xdotool("mousemove", x + 30, y + 5)
    mover = subprocess.Popen(["xdotool"] + [str(a) for step in range(1, 40)
                                            for a in ("mousemove", x + 30 + 5 * step, y + 5,
                                                      "sleep", "0.01")])
    while not dock_on_screen() and time.perf_counter() - start < 5:
        pass
    elapsed = time.perf_counter() - start
    mover.wait()
    xdotool("mousemove", 20, 20, "sleep", "0.1", "mouseup", "1")
    source.kill()
    source.wait()
    # The dock slides out 0.3 s after the release.
    deadline = time.perf_counter() + 3
    while dock_on_screen() and time.perf_counter() < deadline:
        time.sleep(0.05)
    return elapsed


def app_timings(log, since):
    """The (read, handled) milliseconds the application printed after offset `since`."""
    with open(log) as lines:
        lines.seek(since)
        found = [line.split() for line in lines if line.startswith("drag of ")]
    return [(float(words[6]), float(words[10]), float(words[12].lstrip("("))) for words in found]


def report_app(label, timings):
    reads = [read for read, _, _ in timings]
    handled = [handled for _, handled, _ in timings]
    processor = [cpu for _, _, cpu in timings]
    print(f"in the app, {label}: read median {statistics.median(reads):.1f} ms "
          f"(max {max(reads):.1f}), then shown after median {statistics.median(handled):.1f} ms "
          f"(max {max(handled):.1f}) of which {statistics.median(processor):.1f} ms processor")


def cpu_while_moving(pid, left, top, width, height):
    """CPU seconds the process uses while the pointer wanders over a rectangle for 10 s."""
    before = cpu_seconds(pid)
    xdotool(*[a for step in range(200) for a in
              ("mousemove", left + (step * 37) % width, top + (step * 23) % height,
               "sleep", "0.05")])
    return cpu_seconds(pid) - before


def main(build):
    app = os.path.join(build, "Kelvane", "kelvane")
    source_program = os.path.join(build, "tests", "kelvane-test-drag-source")
    processes = start_desktop()
    try:
        with tempfile.TemporaryDirectory() as temp:
            env = dict(os.environ, XDG_CONFIG_HOME=os.path.join(temp, "config"),
                       QT_QPA_PLATFORM="xcb", KELVANE_DOCK_TIMING="1")
            log = os.path.join(temp, "timings.txt")
            kelvane = subprocess.Popen([app], env=env, stdout=open(log, "w"),
                                       stderr=subprocess.DEVNULL)
            processes.insert(0, kelvane)
            time.sleep(3)
            one = [os.path.join(temp, "Photo.jpg")]
            many = [os.path.join(temp, f"IMG_{n:04d}.jpg") for n in range(1000)]
            long_names = [os.path.join(temp, f"Summer trip {n:04d} {'with a long name ' * 10}.jpg")
                          for n in range(1000)]
            for path in one + many + long_names:
                open(path, "wb").close()
            one_drag(source_program, one)  # warm-up: the panel is made on the first show
            start = os.path.getsize(log)
            singles = [one_drag(source_program, one) for _ in range(5)]
            middle = os.path.getsize(log)
            thousands = [one_drag(source_program, many) for _ in range(5)]
            end = os.path.getsize(log)
            for _ in range(5):
                one_drag(source_program, long_names, in_pieces=True)
            print(f"dock on screen after the first motion, 1 file:      "
                  f"median {1000 * statistics.median(singles):.0f} ms, "
                  f"max {1000 * max(singles):.0f} ms (polled with xdotool, ±5 ms)")
            print(f"dock on screen after the first motion, 1 000 files: "
                  f"median {1000 * statistics.median(thousands):.0f} ms, "
                  f"max {1000 * max(thousands):.0f} ms")
            print(f"reading 1 000 URLs costs about "
                  f"{1000 * (statistics.median(thousands) - statistics.median(singles)):.0f} ms")
            report_app("1 file", app_timings(log, start)[:5])
            report_app("1 000 files", app_timings(log, middle)[:5])
            report_app("1 000 long names in pieces", app_timings(log, end))

            window = xdotool("search", "--onlyvisible", "--name", "^Kelvane$").stdout.split()
            geometry = xdotool("getwindowgeometry", "--shell", window[0]).stdout if window else ""
            box = dict(line.split("=") for line in geometry.split())
            over_window = cpu_while_moving(kelvane.pid, int(box.get("X", 100)),
                                           int(box.get("Y", 100)), int(box.get("WIDTH", 600)),
                                           int(box.get("HEIGHT", 400)))
            # The desktop to the right of the window, or below it (the screen is 1280 × 800).
            right = int(box.get("X", 0)) + int(box.get("WIDTH", 0)) + 5
            bottom = int(box.get("Y", 0)) + int(box.get("HEIGHT", 0)) + 5
            elsewhere = (cpu_while_moving(kelvane.pid, right, 0, 1275 - right, 795)
                         if right < 1235 else
                         cpu_while_moving(kelvane.pid, 0, bottom, 1275, 795 - bottom))
            before = cpu_seconds(kelvane.pid)
            time.sleep(10)
            idle = cpu_seconds(kelvane.pid) - before
            for label, moving in (("over the main window", over_window),
                                  ("over the desktop", elsewhere)):
                print(f"CPU while the pointer moves {label}, no button held: "
                      f"{100 * moving / 10:.2f} % ({moving:.2f} s in 10 s)")
            print(f"CPU while idle: {100 * idle / 10:.2f} % ({idle:.2f} s in 10 s)")
    finally:
        for process in processes:
            process.terminate()
            process.wait()


if __name__ == "__main__":
    main(sys.argv[1] if len(sys.argv) > 1 else "build")
