#!/usr/bin/env python3
"""End-to-end screenshot timings under Xvfb, Vistrel against Flameshot in the same run.

    python3 bench/capture/screenshot_bench.py --build-dir build [--runs 20]

For each screen size (1920x1080 and 3840x2160) on a private desktop showing
desktop-like content:
  1. hot key -> selector mapped, with the main window open and with it closed: XTest presses physical Command+4 and the probe
     waits for the full-screen window's MapNotify; Flameshot is timed the same way
     from the start of `flameshot gui` (its daemon already running) to its window.
     Also timed: until a screen pixel changes, i.e. the dimmed overlay is drawn.
  2. at 3840x2160, mouse release -> PNG complete on the Desktop, for a drag over
     the whole screen, with the file's size.
Needs the targets vistrel, vistrel-keymap and vistrel-bench-probe,
and the flameshot package for the comparison (skipped when it is not installed).
"""

import argparse
import os
import statistics
import subprocess
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "..", "tests", "system"))

import harness                                   # noqa: E402
from vistrel_app import COMMAND_4, VistrelApp   # noqa: E402

# The probe takes a chord as keycodes joined by "+".
COMMAND_4_KEYS = "+".join(map(str, COMMAND_4))
FLAMESHOT = "/usr/bin/flameshot"


def desktop_content(path, width, height):
    """Windows with title bars and text, and a noisy photo, rendered by ImageMagick to `path`."""
    s = width / 1920.0
    draw = []
    windows = [(80, 90, 900, 620), (700, 300, 1750, 980), (1100, 60, 1860, 520)]
    for i, (x0, y0, x1, y1) in enumerate(windows):
        x0, y0, x1, y1 = (int(v * s) for v in (x0, y0, x1, y1))
        draw += ["-fill", "white", "-draw", "rectangle %d,%d %d,%d" % (x0, y0, x1, y1),
                 "-fill", "#34549a", "-draw", "rectangle %d,%d %d,%d" % (x0, y0, x1, y0 + int(32 * s)),
                 "-fill", "black"]
        for n, y in enumerate(range(y0 + int(60 * s), y1 - int(20 * s), int(22 * s))):
            draw += ["-draw", "text %d,%d 'Line %d of window %d: the quick brown fox jumps over "
                     "the lazy dog 0123456789'" % (x0 + int(14 * s), y, n, i)]
    photo = "%dx%d" % (int(520 * s), int(300 * s))
    subprocess.run(["convert", "-size", "%dx%d" % (width, height), "xc:#eceef2",
                    "-pointsize", str(int(15 * s))] + draw +
                   ["(", "-size", photo, "plasma:fractal", "-seed", "3", ")",
                    "-geometry", "+%d+%d" % (int(120 * s), int(700 * s)), "-composite",
                    "-depth", "8", path], check=True)


def percentile(values, fraction):
    ordered = sorted(values)
    index = min(len(ordered) - 1, max(0, int(round(fraction * (len(ordered) - 1)))))
    return ordered[index]


def summary(values):
    return "p50 %6.1f ms  p95 %6.1f ms  min %6.1f  max %6.1f  (n=%d)" % (
        statistics.median(values), percentile(values, 0.95), min(values), max(values), len(values))


def probe(session, args, timeout=30):
    out = subprocess.run([session.binary("vistrel-bench-probe")] + args, env=session.env,
                         capture_output=True, timeout=timeout, text=True)
    if out.returncode != 0:
        raise RuntimeError("probe %s failed: %s" % (args, out.stderr.strip()))
    return out.stdout.split()


def measure(build_dir, screen, runs, with_flameshot, with_save):
    session = harness.Session(build_dir, screen=screen, tray=False, audio=False).start()
    results = {}
    try:
        width, height = screen
        desktop_content(session.scratch("content.png"), width, height)
        session.x.paint_root(session.scratch("content.png"))
        size = "--min-size", "%dx%d" % (width, height), "--painted", "%d,%d" % (width // 3, height // 2)

        app = VistrelApp(session)
        app.launch()
        main, mapping = app.wait_ready()
        session.x.activate(mapping.id)
        session.x.key("alt+F4")
        session.x.wait_window_gone(mapping.id)

        def main_shown():
            return session.x.windows(name=main.name, pid=app.process.pid)

        # The main window open where it opens: the capture waits for it to leave the
        # screen first, and Escape brings it back for the next run.
        times, painted = [], []
        for _ in range(runs):
            harness.wait_until(main_shown, 20, "the main window")
            out = probe(session, ["map", "--keys", COMMAND_4_KEYS, *size, "--escape"])
            times.append(float(out[0]))
            painted.append(float(out[1]))
        results["vistrel-visible"] = times
        results["vistrel-visible-painted"] = painted

        shown = harness.wait_until(main_shown, 20, "the main window")[0]
        session.x.activate(shown.id)            # the usual case: the app is in the background
        session.x.key("alt+F4")
        session.x.wait_window_gone(shown.id)
        times, painted = [], []
        for _ in range(runs):
            out = probe(session, ["map", "--keys", COMMAND_4_KEYS, *size, "--escape"])
            times.append(float(out[0]))
            painted.append(float(out[1]))
            time.sleep(0.3)
        results["vistrel"] = times
        results["vistrel-painted"] = painted

        if with_save:
            saves, sizes = [], []
            for _ in range(runs):
                probe(session, ["map", "--keys", COMMAND_4_KEYS, *size])
                time.sleep(0.3)
                out = probe(session, ["save", "--drag", "0,0,%d,%d" % (width - 1, height - 1),
                                      "--dir", session.desktop_dir])
                saves.append(float(out[0]))
                sizes.append(int(out[1]))
                time.sleep(0.5)
            results["save"] = saves
            results["sizes"] = sizes
        app.process.stop()     # Flameshot gets the machine to itself

        if with_flameshot:
            bus = subprocess.run(["/usr/bin/dbus-daemon", "--session", "--fork", "--print-address=1",
                                  "--print-pid=1"], env=session.env, capture_output=True,
                                 text=True, check=True).stdout.split()
            env = {"DBUS_SESSION_BUS_ADDRESS": bus[0]}
            try:
                session.spawn("flameshot", [FLAMESHOT], extra_env=env)
                fenv = dict(session.env, **env)

                def flameshot_run():
                    out = subprocess.run([session.binary("vistrel-bench-probe"), "map", *size,
                                          "--escape", "--exec", FLAMESHOT, "gui"], env=fenv,
                                         capture_output=True, text=True, timeout=30)
                    time.sleep(0.5)
                    return out.stdout.split() if out.returncode == 0 else None

                # The daemon needs a moment after its start; the first capture is not timed.
                harness.wait_until(flameshot_run, 30, "Flameshot to answer `flameshot gui`")
                times, painted, failures = [], [], 0
                while len(times) < runs and failures < runs:
                    out = flameshot_run()
                    if out is None:
                        failures += 1
                        continue
                    times.append(float(out[0]))
                    painted.append(float(out[1]))
                results["flameshot-failures"] = failures
                results["flameshot"] = times
                results["flameshot-painted"] = painted
            finally:
                os.kill(int(bus[1]), 15)
    finally:
        session.close()
    return results


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build-dir", default=os.environ.get("VISTREL_BUILD_DIR",
                                                              os.path.join(HERE, "..", "..", "build")))
    parser.add_argument("--runs", type=int, default=20)
    options = parser.parse_args()
    with_flameshot = os.access(FLAMESHOT, os.X_OK)
    for screen in ((1920, 1080), (3840, 2160)):
        r = measure(options.build_dir, screen, options.runs, with_flameshot,
                    with_save=screen == (3840, 2160))
        print("== %dx%d" % screen)
        print("hot key -> selector mapped, Vistrel:   " + summary(r["vistrel"]))
        print("hot key -> overlay drawn, Vistrel:     " + summary(r["vistrel-painted"]))
        print("  with the main window open:")
        print("hot key -> selector mapped, Vistrel:   " + summary(r["vistrel-visible"]))
        print("hot key -> overlay drawn, Vistrel:     " + summary(r["vistrel-visible-painted"]))
        if "flameshot" in r:
            print("flameshot gui -> window mapped:        " + summary(r["flameshot"]))
            print("flameshot gui -> overlay drawn:        " + summary(r["flameshot-painted"]))
            if r["flameshot-failures"]:
                print("(flameshot showed no window %d times; those runs were repeated)"
                      % r["flameshot-failures"])
            for what in ("", "-painted", "-visible", "-visible-painted"):
                theirs = r["flameshot" + what.replace("-visible", "")]
                print("Flameshot / Vistrel%s: p50 %.1fx, p95 %.1fx" % (
                    what, statistics.median(theirs) / statistics.median(r["vistrel" + what]),
                    percentile(theirs, 0.95) / percentile(r["vistrel" + what], 0.95)))
        if "save" in r:
            print("release -> PNG on the Desktop:         " + summary(r["save"]))
            print("PNG size: median %.2f MB" % (statistics.median(r["sizes"]) / 1e6))
        sys.stdout.flush()


if __name__ == "__main__":
    main()
