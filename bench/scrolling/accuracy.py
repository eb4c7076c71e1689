#!/usr/bin/env python3
"""Scrolling capture against a real browser: each page goes through the real app on a
private desktop (Command+6 over Chromium, web mode) and the stitched PNG is compared with
Chromium's own headless render of the page. Prints one table:
page, frames, height error, rows correct, seconds.

    /usr/bin/python3 bench/scrolling/accuracy.py --build-dir build [page ...]
"""

import argparse
import os
import sys
import time

from PIL import Image

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "tests", "system"))

import harness                  # noqa: E402
import scrolling_pages as pages  # noqa: E402

PAGES = ("content", "sticky", "footer", "identical")
LEFT, TOP, WIDTH, HEIGHT = 20, 40, 800, 500


def measure(build_dir, kind):
    session = harness.Session(build_dir).start()
    try:
        app, path, (vx, vy), browser = pages.start(session, kind)
        html, page_height = pages.page_html(kind)
        if page_height is None:
            page_height = _rendered_height(path, session)
        truth = pages.ground_truth(path, session.scratch("truth.png"), page_height)
        started = time.monotonic()
        pages.select(session, app, vx + LEFT, vy + TOP, vx + LEFT + WIDTH, vy + TOP + HEIGHT)
        name, frames = pages.wait_for_capture(session, app, 300)
        seconds = time.monotonic() - started
        result = Image.open(os.path.join(session.desktop_dir, name)).convert("RGB")
        expected = page_height - TOP - (browser.height - (TOP + HEIGHT))
        rows = min(result.height, expected)
        good = pages.correct_rows(result.crop((0, 0, WIDTH, rows)),
                                  truth.crop((LEFT, TOP, LEFT + WIDTH, TOP + rows)))
        return frames, result.height - expected, 100.0 * good / expected, seconds
    finally:
        session.close()


def _rendered_height(path, session):
    """Pages without a fixed height: render tall once and find the last non-white row."""
    probe = pages.ground_truth(path, session.scratch("probe.png"), 12000)
    bbox = Image.eval(probe.convert("L"), lambda v: 255 - v).getbbox()
    return bbox[3] if bbox else probe.height


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build-dir", default="build")
    parser.add_argument("pages", nargs="*", default=PAGES)
    args = parser.parse_args()
    print("%-10s %7s %13s %13s %8s" % ("page", "frames", "height error", "rows correct", "seconds"))
    for kind in args.pages:
        try:
            frames, error, share, seconds = measure(args.build_dir, kind)
            print("%-10s %7s %13d %12.2f%% %8.1f" % (kind, frames if frames is not None else "?", error, share,
                                                     seconds), flush=True)
        except Exception as failure:  # noqa: BLE001 - one failed page still prints a row
            print("%-10s failed: %s" % (kind, failure), flush=True)


if __name__ == "__main__":
    main()
