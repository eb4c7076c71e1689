#!/usr/bin/env python3
"""Takes the product screenshots in docs/ from the real app on a private desktop.

    python3 docs/screenshots.py --build-dir build

Seeds a few captures so the recent-captures list is not empty, then shoots the main
window and the key-mapping window (with one custom mapping added through the UI).
"""

import argparse
import os
import shutil
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(os.path.dirname(HERE), "tests", "system"))

import harness  # noqa: E402
from vistrel_app import VistrelApp  # noqa: E402


def seed_captures(session, app):
    """Three screenshots on the Desktop and their history rows, as the app would leave them."""
    os.makedirs(app.support_dir, exist_ok=True)
    colours = [("#d7ff3f", "#131513"), ("#2f6fde", "#ffffff"), ("#f4b740", "#1a1a1a")]
    rows = []
    for i, (fill, ink) in enumerate(colours):
        path = os.path.join(session.desktop_dir, "Screenshot_2026-11-2%d_10-1%d-0%d.png" % (i, i, i))
        subprocess.run(["convert", "-size", "640x360", "xc:" + fill, "-fill", ink,
                        "-draw", "roundrectangle 40,40 600,120 16,16",
                        "-draw", "rectangle 40,160 360,320", path], check=True)
        rows.append("INSERT INTO captures(type,path,created_at) VALUES('screenshot','%s','2026-11-2%dT0%d:1%d:0%dZ');"
                    % (path, i, i + 3, i, i))
    schema = ("CREATE TABLE IF NOT EXISTS captures (\n    id INTEGER PRIMARY KEY AUTOINCREMENT,\n"
              "    type TEXT NOT NULL,\n    path TEXT NOT NULL,\n    created_at TEXT NOT NULL\n);")
    subprocess.run(["sqlite3", app.history_db, schema + "".join(rows)], check=True)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build-dir", default=os.path.join(os.path.dirname(HERE), "build"))
    args = parser.parse_args()

    session = harness.Session(args.build_dir).start()
    try:
        x = session.x
        app = VistrelApp(session)
        seed_captures(session, app)
        app.launch()
        main_window, mapping = app.wait_ready()
        app.wait_swapped()
        x.activate(main_window.id)
        x.screenshot(os.path.join(HERE, "main-window.png"), main_window.id)

        x.activate(mapping.id)
        x.type_text("Caps")
        x.key("Tab")
        x.type_text("Es")
        x.key("Tab")
        x.key("space")
        harness.wait_until(lambda: os.path.exists(app.mappings_file), 20, "the mapping saved")
        x.screenshot(os.path.join(HERE, "key-mapping-window.png"), mapping.id)
    finally:
        session.close()
    print("wrote docs/main-window.png and docs/key-mapping-window.png")


if __name__ == "__main__":
    shutil.which("convert") or sys.exit("needs ImageMagick's convert")
    main()
