#!/usr/bin/env python3
"""Storms and faults: a burst of Command+4 opens one selector, a held Command+Tab keeps
switching, a full Desktop leaves no partial file, and the app answers throughout."""

import json
import os
import signal
import subprocess
import time

from PIL import Image

import harness
from test_screenshot import COMMAND_4, settle
from vistrel_app import COMMAND_TAB, VistrelApp

BURST = 50

# Runs the app with a tiny tmpfs, already full, over the Desktop: a user and mount namespace
# of its own, so no privilege is needed and nothing outside the app sees the mount.
FULL_DESKTOP = ('mount -t tmpfs -o size=32k tmpfs "$1" && '
                '(dd if=/dev/zero of="$1/filler" bs=4k 2>/dev/null; true) && exec "$2"')


class StormTests(harness.SystemTestCase):

    def test_fifty_command_4_in_a_second_open_one_selector(self):
        session = self.start_session()
        app = VistrelApp(session)
        app.launch()
        app.wait_ready()

        start = time.monotonic()
        session.x.press_keycodes("--burst", *[COMMAND_4] * BURST)
        sent = time.monotonic() - start
        self.assertLess(sent, 1.0, "the burst took %.2f s to send" % sent)
        harness.wait_until(lambda: app.full_screen_windows(), 20,
                           "the region selector")
        # Every press has been handled once the app answers a ping queued after them.
        settle(session, app.process.pid, timeout=10)
        self.assertEqual(len(app.full_screen_windows()), 1)

        session.x.key("Escape")
        harness.wait_until(lambda: not app.full_screen_windows(), 10,
                           "the selector to go")
        settle(session, app.process.pid, timeout=10)
        self.assertEqual(app.full_screen_windows(), [])
        self.assertTrue(app.process.alive())

    def test_command_tab_held_with_auto_repeat_keeps_switching(self):
        session = self.start_session()
        x = session.x
        titles = ("Storm A", "Storm B")
        helpers = [session.launch("vistrel-test-window", ["--title", t]) for t in titles]
        for title, helper in zip(titles, helpers):
            x.wait_for_window(name=title, pid=helper.pid)
        app = VistrelApp(session)
        app.launch()
        app.wait_ready()
        pids = {app.process.pid} | {h.pid for h in helpers}

        hold = subprocess.Popen([session.binary("vistrel-test-keys"), "--hold", "3000", COMMAND_TAB],
                                env=session.env)
        seen = set()
        while hold.poll() is None:
            seen.add(x.active_pid())
            time.sleep(0.05)
        self.assertEqual(hold.returncode, 0)
        settle(session, app.process.pid, timeout=10)
        self.assertTrue(app.process.alive())
        seen.add(x.active_pid())
        seen.discard(None)
        self.assertLessEqual(seen, pids)
        self.assertGreaterEqual(len(seen), 2, "the held chord never switched: %s" % seen)

    def test_full_desktop_leaves_no_partial_file_and_the_next_shot_works(self):
        session = self.start_session()
        x = session.x
        os.makedirs(session.desktop_dir, exist_ok=True)
        app = VistrelApp(session)
        app.process = session.spawn("vistrel", [
            "/usr/bin/unshare", "-rm", "/bin/sh", "-c", FULL_DESKTOP, "sh",
            session.desktop_dir, session.require_binary("vistrel")])
        main, mapping = app.wait_ready()
        # The app's own view of the Desktop: the tmpfs lives in its mount namespace.
        desktop = "/proc/%d/root%s" % (app.process.pid, session.desktop_dir)
        harness.wait_until(lambda: os.listdir(desktop) == ["filler"], 10, "the full Desktop")
        # xclip keeps serving the selection from a child it forks; teardown ends it.
        clip = session.scratch("clip.txt")
        with open(clip, "wb") as f:
            f.write(b"before")
        session.spawn("xclip", ["/usr/bin/xclip", "-selection", "clipboard", "-t", "text/plain", "-i", clip])
        harness.wait_until(lambda: "text/plain" in x.clipboard_targets(), 10, "the clipboard to be owned")

        x.press_keycodes(COMMAND_4)
        harness.wait_until(lambda: app.full_screen_windows(), 20, "the region selector")
        session.x.drag_line(300, 300, 500, 420)
        harness.wait_until(lambda: not app.full_screen_windows(), 10, "the selector to go")
        settle(session, app.process.pid, timeout=10)
        self.assertEqual(os.listdir(desktop), ["filler"])
        self.assertEqual(x.clipboard("text/plain"), b"before")
        self.assertFalse(os.path.exists(app.history_db)
                         and harness.sqlite_rows(app.history_db, "SELECT path FROM captures"))
        self.assertTrue(app.process.alive())

        # Room again: the same keys save a whole PNG.
        os.remove(os.path.join(desktop, "filler"))
        x.press_keycodes(COMMAND_4)
        harness.wait_until(lambda: app.full_screen_windows(), 20, "the region selector")
        session.x.drag_line(300, 300, 500, 420)
        names = harness.wait_until(lambda: [n for n in os.listdir(desktop) if n.endswith(".png")],
                                   20, "a PNG on the Desktop")
        self.assertEqual(len(os.listdir(desktop)), 1, os.listdir(desktop))
        with Image.open(os.path.join(desktop, names[0])) as image:
            self.assertEqual(image.size, (200, 120))

    def test_killed_mid_save_leaves_a_whole_mappings_file(self):
        session = self.start_session()
        x = session.x
        before = x.keymap()
        app = VistrelApp(session)
        whole = ([], [{"source": "Caps Lock", "destination": "Escape"}])
        # Killed at once and a little later: each run may land before, in or after the save.
        for delay in (0.0, 0.005, 0.02, 0.05, 0.1):
            if os.path.exists(app.mappings_file):
                os.remove(app.mappings_file)
            app.launch()
            _, mapping = app.wait_ready()
            harness.wait_until(lambda: x.active_window_id() == mapping.id, 20,
                               "the key-mapping window to have the keyboard")
            x.type_text("Caps")
            x.key("Tab")
            x.type_text("Es")
            x.key("Tab")
            x.key("space")                # "＋": saves key-mappings.json
            time.sleep(delay)
            app.process.popen.send_signal(signal.SIGKILL)
            app.process.wait(10)
            if os.path.exists(app.mappings_file):
                with open(app.mappings_file, "rb") as f:
                    self.assertIn(json.loads(f.read().decode("utf-8")), whole,
                                  "after a kill %.3f s into the save" % delay)
            x.wait_keymap(lambda k: not k.differences(before), 5, "the keymap restored after the kill")


if __name__ == "__main__":
    harness.main()
