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

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "tests", "system"))

import harness                  # noqa: E402
import scrolling_pages as pages  # noqa: E402

PAGES = ("content", "sticky", "footer", "identical")
LEFT, TOP, WIDTH, HEIGHT = 20, 40, 800, 500
MARKER_DIV = "<div id='marker'></div>"
STICKY_HEADER = ('<div style="position:sticky;top:0;height:56px;background:#1d3557;color:white;'
                 'font:20px/56px sans-serif;padding-left:16px">Sticky header</div>')
SAME_ROW = ('<div style="height:40px;border-bottom:2px solid #888;box-sizing:border-box;'
            'font:16px/38px sans-serif">Same row</div>')


def page_html(kind, blocks, seed=1):
    """The content and footer pages as the tests build them, plus two kinds only measured
    here: a sticky header over the content, and a third of the content followed by 60
    identical rows."""
    if kind == "sticky":
        html, height = pages.page_html(kind, blocks, seed)
        return html.replace(MARKER_DIV, MARKER_DIV + STICKY_HEADER), height + 56
    if kind == "identical":
        html, height = pages.page_html(kind, blocks // 3, seed)
        return html.replace("</body>", SAME_ROW * 60 + "</body>"), height + 60 * 40
    return pages.page_html(kind, blocks, seed)


def wait_for_capture(session, app, timeout):
    """The saved PNG, decoded, and the last frame count its progress panel showed."""
    frames = [None]

    def saved():
        for wid in pages.hud(session, app):
            count = pages.panel_frames(session, wid)
            if count is not None:
                frames[0] = count
        return pages.captures(session)
    harness.wait_until(saved, timeout, "a ScrollingCapture PNG")
    return pages.wait_for_capture(session, 1, timeout)[1], frames[0]


def measure(build_dir, kind):
    session = harness.Session(build_dir).start()
    try:
        page = pages.start(session, kind, page=page_html(kind, 24))
        truth = pages.ground_truth(session, page)
        started = time.monotonic()
        pages.select(session, page, LEFT, TOP, LEFT + WIDTH, TOP + HEIGHT)
        result, frames = wait_for_capture(session, page.app, 300)
        seconds = time.monotonic() - started
        expected = page.height - TOP - (page.browser.height - (TOP + HEIGHT))
        rows = min(result.height, expected)
        good = pages.correct_rows(result.crop((0, 0, WIDTH, rows)),
                                  truth.crop((LEFT, TOP, LEFT + WIDTH, TOP + rows)))
        return frames, result.height - expected, 100.0 * good / expected, seconds
    finally:
        session.close()


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
