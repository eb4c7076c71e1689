#!/usr/bin/env python3
"""Storms and faults: a burst of Command+4 opens one selector, a held Command+Tab keeps
switching, a full Desktop leaves no partial file, a kill mid-save leaves a whole mappings
file, and the app answers throughout."""

import os
import signal
import subprocess
import time

from PIL import Image

import harness
from vistrel_app import COMMAND_4, COMMAND_TAB, VistrelApp

# Runs the app with a tiny tmpfs, already full, over the Desktop: a user and mount namespace
# of its own, so no privilege is needed and nothing outside the app sees the mount.
FULL_DESKTOP = ('mount -t tmpfs -o size=32k tmpfs "$1" && '
                '(dd if=/dev/zero of="$1/filler" bs=4k 2>/dev/null; true) && exec "$2"')


class StormTests(harness.SystemTestCase):

    def test_fifty_command_4_in_a_second_open_one_selector_and_escape_keeps_main_hidden(self):
        session = self.start_session()
        app = VistrelApp(session)
        main = app.ready_with_main_only()
        session.x.close_window(main.id)      # closing only hides the window

        start = time.monotonic()
        session.x.press_keycodes("--burst", *[COMMAND_4] * 50)
        sent = time.monotonic() - start
        self.assertLess(sent, 1.0, "the burst took %.2f s to send" % sent)
        harness.wait_until(app.full_screen_windows, 20, "the region selector")
        app.settle()     # every press is handled once the app answers a ping queued after them
        self.assertEqual(len(app.full_screen_windows()), 1)

        session.x.drag_line(200, 200, 500, 400, release=False)
        session.x.key("Escape")
        harness.wait_until(lambda: not app.full_screen_windows(), 10, "the selector to go")
        session.x.run(["xdotool", "mouseup", "1"])
        app.settle()
        self.assertEqual(app.full_screen_windows(), [])
        # Hidden before the selector, the main window stays hidden after it.
        self.assertFalse(app.main_shown(main))
        self.assertEqual((app.desktop_pngs(), app.history()), ([], []))
        self.assertTrue(app.process.alive())

    def test_command_tab_held_with_auto_repeat_keeps_switching(self):
        session = self.start_session()
        x = session.x
        helpers = [session.launch("vistrel-test-window", ["--title", t]) for t in ("Storm A", "Storm B")]
        for title, helper in zip(("Storm A", "Storm B"), helpers):
            x.wait_for_window(name=title, pid=helper.pid)
        app = VistrelApp(session)
        app.launch()
        app.wait_ready()

        hold = subprocess.Popen([session.binary("vistrel-test-keys"), "--hold", "3000", COMMAND_TAB],
                                env=session.env)
        seen = set()
        while hold.poll() is None:
            seen.add(x.active_pid())
            time.sleep(0.05)
        self.assertEqual(hold.returncode, 0)
        app.settle()
        self.assertTrue(app.process.alive())
        seen = (seen | {x.active_pid()}) - {None}
        self.assertLessEqual(seen, {app.pid} | {h.pid for h in helpers})
        self.assertGreaterEqual(len(seen), 2, "the held chord never switched: %s" % seen)

    def test_full_desktop_leaves_no_partial_file_and_the_next_shot_works(self):
        session = self.start_session()
        x = session.x
        app = VistrelApp(session)
        app.process = session.spawn("vistrel", ["/usr/bin/unshare", "-rm", "/bin/sh", "-c", FULL_DESKTOP, "sh",
                                                session.desktop_dir, session.require_binary("vistrel")])
        app.wait_ready()
        # The app's own view of the Desktop: the tmpfs lives in its mount namespace.
        desktop = "/proc/%d/root%s" % (app.pid, session.desktop_dir)
        harness.wait_until(lambda: os.listdir(desktop) == ["filler"], 10, "the full Desktop")
        # xclip keeps serving the selection from a child it forks; teardown ends it.
        clip = session.scratch("clip.txt")
        with open(clip, "wb") as f:
            f.write(b"before")
        session.spawn("xclip", ["/usr/bin/xclip", "-selection", "clipboard", "-t", "text/plain", "-i", clip])
        x.wait_clipboard("text/plain")

        app.open_selector()
        x.drag_line(300, 300, 500, 420)
        harness.wait_until(lambda: not app.full_screen_windows(), 10, "the selector to go")
        app.settle()
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
            app.add_caps_lock_to_escape(app.wait_ready()[1])     # "＋" saves key-mappings.json
            time.sleep(delay)
            app.process.popen.send_signal(signal.SIGKILL)
            app.process.wait(10)
            if os.path.exists(app.mappings_file):
                self.assertIn(app.read_mappings(), whole, "after a kill %.3f s into the save" % delay)
            x.wait_keymap(lambda k: not k.differences(before), 5, "the keymap restored after the kill")


if __name__ == "__main__":
    harness.main()
