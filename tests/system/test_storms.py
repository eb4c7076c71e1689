#!/usr/bin/env python3
"""Storms and faults: key bursts, held chords, a full Desktop."""

import os
import time
from pathlib import Path

from PIL import Image

import harness
from vistrel_app import COMMAND_4, COMMAND_TAB, start

# Runs the app with a tiny tmpfs, already full, over the Desktop: a user and mount namespace
# of its own, so no privilege is needed and nothing outside the app sees the mount.
FULL_DESKTOP = ('mount -t tmpfs -o size=32k tmpfs "$1" && '
                '(dd if=/dev/zero of="$1/filler" bs=4k 2>/dev/null; true) && exec "$2"')


class StormTests(harness.SystemTestCase):

    def test_fifty_command_4_in_a_second_open_one_selector_and_escape_keeps_main_hidden(self):
        session, x, app = start(self.start_session())
        main = app.ready_with_main_only()
        x.close_window(main.id)      # closing only hides the window

        began = time.monotonic()
        x.press_keycodes(*[COMMAND_4] * 50)
        self.assertLess(time.monotonic() - began, 1.0, "the burst took a second or more to send")
        # Each press freezes the screen anew and replaces the selector a moment later, so the
        # count is read on either side of a ping until the replacing is over.
        def one_selector_that_stays():
            before = app.full_screen_windows()
            x.settle(app.pid)
            return len(before) == 1 and app.full_screen_windows() == before
        harness.wait_until(one_selector_that_stays, 20, "one region selector that stays")

        x.drag_line(200, 200, 500, 400, release=False)
        x.key("Escape")
        harness.wait_until(lambda: not app.full_screen_windows(), 10, "the selector to go")
        x.run(["xdotool", "mouseup", "1"])
        x.settle(app.pid)
        self.assertEqual(app.full_screen_windows(), [])
        # Hidden before the selector, the main window stays hidden after it.
        self.assertFalse(app.main_shown(main))
        self.assertEqual((app.desktop_pngs(), app.history()), ([], []))
        self.assertTrue(app.process.alive())

    def test_command_tab_held_with_auto_repeat_keeps_switching(self):
        session, x, app = start(self.start_session())
        helpers = [session.launch("vistrel-test-window", ["--title", t]) for t in ("Storm A", "Storm B")]
        for title, helper in zip(("Storm A", "Storm B"), helpers):
            x.wait_for_window(name=title, pid=helper.pid)
        app.launch()
        app.wait_ready()

        # One press switches once; only the auto-repeat brings every window to the front.
        pids, seen = {app.pid} | {h.pid for h in helpers}, set()
        with x.holding(COMMAND_TAB):
            harness.wait_until(lambda: seen.add(x.active_pid()) or seen >= pids, 10,
                               "each of %s in front while the chord is held" % pids)
        x.settle(app.pid)
        self.assertTrue(app.process.alive())
        self.assertLessEqual((seen | {x.active_pid()}) - {None}, pids)

    def test_full_desktop_leaves_no_partial_file_and_the_next_shot_works(self):
        session, x, app = start(self.start_session())
        app.process = session.spawn("vistrel", ["/usr/bin/unshare", "-rm", "/bin/sh", "-c", FULL_DESKTOP, "sh",
                                                session.desktop_dir, session.binary("vistrel")])
        app.wait_ready()
        # The app's own view of the Desktop: the tmpfs lives in its mount namespace.
        desktop = "/proc/%d/root%s" % (app.pid, session.desktop_dir)
        harness.wait_until(lambda: os.listdir(desktop) == ["filler"], 10, "the full Desktop")
        # xclip keeps serving the selection from a child it forks; teardown ends it.
        clip = session.scratch("clip.txt")
        Path(clip).write_bytes(b"before")
        session.spawn("xclip", ["/usr/bin/xclip", "-selection", "clipboard", "-t", "text/plain", "-i", clip])
        x.wait_clipboard("text/plain")

        app.open_selector()
        x.drag_line(300, 300, 500, 420)
        harness.wait_until(lambda: not app.full_screen_windows(), 10, "the selector to go")
        x.settle(app.pid)
        self.assertEqual(os.listdir(desktop), ["filler"])
        self.assertEqual(x.clipboard("text/plain"), b"before")
        self.assertEqual(app.history(), [])
        self.assertTrue(app.process.alive())

        # Room again: the same keys save a whole PNG.
        os.remove(os.path.join(desktop, "filler"))
        app.open_selector()
        x.drag_line(300, 300, 500, 420)
        names = harness.wait_until(lambda: [n for n in os.listdir(desktop) if n.endswith(".png")],
                                   20, "a PNG on the Desktop")
        self.assertEqual(os.listdir(desktop), names)
        with Image.open(os.path.join(desktop, names[0])) as image:
            self.assertEqual((image.format, image.size), ("PNG", (200, 120)))


if __name__ == "__main__":
    harness.main()
