#!/usr/bin/env python3
"""Measures the time from the write of a frame to a capture until `tarnwick inspect --follow` has printed its record.

usage: benchmarks/program/follow_delay.py PROGRAM
"""

import os
import random
import signal
import subprocess
import sys
import tempfile
import time

FRAME = bytes([8, 0x08, 1, 0xAA, 1, 3, 0x08, 0xC8, 1])  # the end of request 1
COUNT = 1000


def delay(capture, output):
    """Returns the time for one frame, in microseconds."""
    time.sleep(random.uniform(0.001, 0.005))  # so that the program waits
    start = time.perf_counter_ns()
    capture.write(FRAME)
    output.readline()
    return (time.perf_counter_ns() - start) / 1000


def main():
    with tempfile.NamedTemporaryFile(buffering=0) as capture:
        capture.write(FRAME)
        command = [sys.argv[1], "inspect", "--follow", "--format=jsonl", capture.name]
        with subprocess.Popen(command, stdout=subprocess.PIPE) as program:
            program.stdout.readline()
            delays = sorted(delay(capture, program.stdout) for _ in range(COUNT))
            program.send_signal(signal.SIGINT)
            if program.wait() != 0:
                sys.exit(f"{sys.argv[1]} exited with status {program.returncode}")
    print(f"{COUNT} frames: median {delays[COUNT // 2]:.0f} µs, "
          f"99th percentile {delays[COUNT * 99 // 100]:.0f} µs, largest {delays[-1]:.0f} µs")


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    main()
