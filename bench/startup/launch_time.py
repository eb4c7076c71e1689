#!/usr/bin/env python3
"""Launch-to-window time of the real app on a private Xvfb desktop.

    python3 bench/startup/launch_time.py --build-dir build [--runs 10]

Each run starts from an empty data folder (no history, no mappings), launches the app and
stops the clock when the main window is mapped and viewable; the app is then quit with
SIGTERM (which takes its keymap change away) before the next run.
"""

import argparse
import os
import shutil
import statistics
import subprocess
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(HERE)), "tests", "system"))

import harness  # noqa: E402
from vistrel_app import VistrelApp  # noqa: E402


def main_window_visible(env):
    result = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", "^Vistrel [0-9]"],
                            env=env, capture_output=True, text=True)
    return result.returncode == 0 and result.stdout.strip() != ""


def settle(session):
    """Waits until the window manager has caught up: a probe window it must frame and map.

    Quitting restores the keymap, and the window manager answers every keymap notice
    before it gets to a new window; a cold start should not pay for the previous run."""
    probe = session.launch("vistrel-test-window", ["--title", "settle"])
    session.x.wait_for_window(name="settle", pid=probe.pid)
    probe.terminate()
    probe.wait(20)


def measure(session, runs):
    app = VistrelApp(session)
    times = []
    for _ in range(runs):
        shutil.rmtree(app.support_dir, ignore_errors=True)
        settle(session)
        start = time.monotonic()
        app.launch()
        while not main_window_visible(session.env):
            if time.monotonic() - start > 30:
                raise RuntimeError("the main window did not appear")
        times.append((time.monotonic() - start) * 1000.0)
        app.terminate()
    return times


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build-dir", default=os.path.join(os.path.dirname(os.path.dirname(HERE)), "build"))
    parser.add_argument("--runs", type=int, default=10)
    parser.add_argument("--no-tray", action="store_true")
    args = parser.parse_args()
    session = harness.Session(args.build_dir, tray=not args.no_tray).start()
    try:
        times = measure(session, args.runs)
    finally:
        session.close()
    print("launch to main window visible, %d cold starts (ms): %s"
          % (len(times), " ".join("%.0f" % t for t in times)))
    print("median %.0f ms, min %.0f ms, max %.0f ms" % (statistics.median(times), min(times), max(times)))


if __name__ == "__main__":
    main()
