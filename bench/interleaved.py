#!/usr/bin/env python3
"""Times commands A/B interleaved: run 1 goes A, B, …; run 2 goes …, B, A; and so on, after
one warm-up round, so that a machine whose load changes treats every command alike.

    interleaved.py RUNS CLEANUP COMMAND…

CLEANUP (a shell command) runs before each timed command. Prints one line per command:
the median wall time and the median CPU time (user + system, children included) in ms."""
import os
import shlex
import statistics
import subprocess
import sys
import time

runs, cleanup, commands = int(sys.argv[1]), sys.argv[2], sys.argv[3:]
wall = {command: [] for command in commands}
cpu = {command: [] for command in commands}
for round_ in range(runs + 1):
    for command in commands if round_ % 2 == 0 else reversed(commands):
        subprocess.run(cleanup, shell=True, check=False)
        start = time.perf_counter()
        process = subprocess.Popen(shlex.split(command), stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL)
        _, status, usage = os.wait4(process.pid, 0)
        elapsed = time.perf_counter() - start
        if status != 0:
            sys.exit("failed (%d): %s" % (status, command))
        if round_ > 0:
            wall[command].append(elapsed * 1000)
            cpu[command].append((usage.ru_utime + usage.ru_stime) * 1000)
for command in commands:
    print("%.1f %.1f" % (statistics.median(wall[command]), statistics.median(cpu[command])))
