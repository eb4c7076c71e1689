#!/usr/bin/env python3
"""The harness itself: the private desktop works, teardown leaves nothing, and the
key and pixel helpers report what really happened. Needs no app."""

import os
import re
import select
import shutil
import signal
import subprocess
import sys
import tempfile

import harness
from desktop import NULL_SINK, selection_owner
from procs import session_processes, wait_until
from xtools import read_png, tool_path

_HERE = os.path.dirname(os.path.abspath(__file__))

_STUBBORN = """
import os, signal, subprocess, sys, time
signal.signal(signal.SIGTERM, signal.SIG_IGN)
# A grandchild in its own session, out of reach of the group kill.
subprocess.Popen([sys.executable, "-c", "import os, time; os.setsid(); time.sleep(600)"])
print("ready", flush=True)
time.sleep(600)
"""

_RUNNER = """
import sys, time
sys.path.insert(0, sys.argv[1])
import harness
harness._open_sessions.install()
session = harness.Session(sys.argv[2]).start()
session.spawn("sleeper", ["/bin/sleep", "600"])
print(session.desktop.token, session.desktop.display, session.desktop.root, flush=True)
time.sleep(600)
"""

_FAILING = """
import sys
sys.path.insert(0, sys.argv[1])
import harness

class Failing(harness.SystemTestCase):
    def test_fails(self):
        session = self.start_session(tray=False, audio=False)
        session.spawn("sleeper", ["/bin/sleep", "600"])
        self.fail("on purpose")

sys.argv = [sys.argv[0], "--build-dir", sys.argv[2], "--artifacts-dir", sys.argv[3]]
harness.main()
"""


def _xev_key_events(text):
    return [(kind, int(code)) for kind, code in
            re.findall(r"^(KeyPress|KeyRelease) event.*?keycode (\d+)", text, re.M | re.S)]


class HarnessTests(harness.SystemTestCase):

    def test_desktop_services_run_at_each_screen_size(self):
        for screen, scale in (((1920, 1080), 1.0), ((3840, 2160), 2.0)):
            with self.subTest(scale=scale), \
                    self.session_scope("scale-%g" % scale, screen=screen, scale=scale) as session:
                x = session.x
                root = x.text(["xwininfo", "-root"])
                size = tuple(int(re.search(r"%s:\s+(\d+)" % key, root).group(1))
                             for key in ("Width", "Height"))
                self.assertEqual(size, screen)
                self.assertNotEqual(session.env["DISPLAY"], os.environ.get("DISPLAY"))
                self.assertTrue(selection_owner(session.env["DISPLAY"], "WM_S0"))
                self.assertTrue(selection_owner(session.env["DISPLAY"], "_NET_SYSTEM_TRAY_S0"))
                sink = x.text(["pactl", "get-default-sink"]).strip()
                self.assertEqual(sink, NULL_SINK)

    def test_close_ends_stubborn_and_escaped_processes(self):
        session = harness.Session(self.options.build_dir, audio=False).start()
        try:
            token, root = session.desktop.token, session.desktop.root
            display = session.env["DISPLAY"].lstrip(":")
            stubborn = session.spawn("stubborn", [sys.executable, "-c", _STUBBORN])
            wait_until(lambda: "ready" in stubborn.log_text(), 10, "the stubborn child")
            self.assertGreaterEqual(len(session_processes(token)), 5)
        finally:
            session.close()
        self.assertEqual([p.args for p in session_processes(token)], [])
        self.assertEqual(len(session.desktop.leftovers), 1, "the escaped grandchild")
        self.assertFalse(os.path.exists("/tmp/.X%s-lock" % display))
        self.assertFalse(os.path.exists(root))

    def test_interrupted_harness_leaves_no_process(self):
        for signum in (signal.SIGTERM, signal.SIGINT, signal.SIGKILL):
            with self.subTest(signal=signum):
                runner = subprocess.Popen([sys.executable, "-c", _RUNNER, _HERE,
                                           self.options.build_dir], stdout=subprocess.PIPE)
                root = None
                try:
                    ready, _, _ = select.select([runner.stdout], [], [], 30)
                    self.assertTrue(ready, "the runner did not start its session")
                    token, display, root = runner.stdout.readline().decode().split()
                    self.assertGreaterEqual(len(session_processes(token)), 5)
                    runner.send_signal(signum)
                    # Each process gets a grace period before its kill; on a loaded machine
                    # several of them use it all.
                    status = runner.wait(90)
                    wait_until(lambda: not session_processes(token), 10,
                               "the session's processes to end")
                    wait_until(lambda: not os.path.exists("/tmp/.X%s-lock" % display.lstrip(":")),
                               10, "Xvfb to remove its lock")
                    if signum != signal.SIGKILL:
                        self.assertEqual(status, 128 + signum)
                        self.assertFalse(os.path.exists(root))
                finally:
                    if runner.poll() is None:
                        runner.kill()
                        runner.wait()
                    runner.stdout.close()
                    if root:   # a killed harness cannot remove its folder
                        shutil.rmtree(root, ignore_errors=True)

    def test_failed_test_leaves_diagnostics(self):
        artifacts = tempfile.mkdtemp(prefix="vistrel-artifacts-")
        self.addCleanup(shutil.rmtree, artifacts, True)
        run = subprocess.run([sys.executable, "-c", _FAILING, _HERE, self.options.build_dir,
                              artifacts], capture_output=True, timeout=120)
        self.assertEqual(run.returncode, 1, run.stderr.decode(errors="replace"))
        folder = os.path.join(artifacts, "Failing.test_fails")
        with open(os.path.join(folder, "processes.txt")) as f:
            self.assertIn("/bin/sleep 600", f.read())
        image = read_png(os.path.join(folder, "screen.png"))
        self.assertEqual((image.width, image.height), self.SCREEN)
        for name in ("keymap.txt", "windows.txt", "home-files.txt", "logs/sleeper.log"):
            self.assertTrue(os.path.exists(os.path.join(folder, name)), name)

    def test_physical_keycodes_and_screen_pixels(self):
        session = self.start_session(tray=False, audio=False)
        x = session.x
        # Rewrite the keymap as the app would: keycode 133 now carries Control_L.
        x.run(["xmodmap", "-e", "keycode 133 = Control_L"])
        probe = session.spawn("xev", [tool_path("xev"), "-event", "keyboard"])
        window = x.wait_for_window(name="Event Tester")
        x.activate(window.id)
        x.press_keycodes("133+50+23")
        expected = [("KeyPress", 133), ("KeyPress", 50), ("KeyPress", 23),
                    ("KeyRelease", 23), ("KeyRelease", 50), ("KeyRelease", 133)]
        wait_until(lambda: _xev_key_events(probe.log_text()) == expected, 10,
                   "the chord in xev's log")
        self.assertIn("keycode 133 (keysym 0xffe3, Control_L)", probe.log_text())

        x.run(["xsetroot", "-solid", "#123456"])
        shot = x.screenshot(session.scratch("root.png"))
        self.assertEqual((shot.width, shot.height), self.SCREEN)
        self.assertEqual(shot.getpixel((3, self.SCREEN[1] - 3)), (0x12, 0x34, 0x56))

    def test_clipboard_and_sqlite_read_back(self):
        session = self.start_session(tray=False, audio=False)
        text = "Đã lưu và sao chép: Screenshot_1.png"
        source = session.scratch("clip.txt")
        with open(source, "w", encoding="utf-8") as f:
            f.write(text)
        # xclip keeps serving the selection from a child it forks; teardown ends it.
        session.spawn("xclip", [tool_path("xclip"), "-selection", "clipboard",
                                "-t", "text/plain;charset=utf-8", "-i", source])
        targets = wait_until(session.x.clipboard_targets, 10, "the clipboard to be owned")
        self.assertIn("text/plain;charset=utf-8", targets)
        self.assertEqual(session.x.clipboard("text/plain;charset=utf-8").decode(), text)

        db = session.scratch("history.db")
        subprocess.run([tool_path("sqlite3"), db,
                        "CREATE TABLE captures(id INTEGER PRIMARY KEY, type TEXT, path TEXT);"
                        "INSERT INTO captures(type, path) VALUES('screenshot', '/a b/ả.png'),"
                        "('video', '/x.mp4');"], check=True, timeout=20)
        rows = session.sqlite(db, "SELECT id, type, path FROM captures ORDER BY id")
        self.assertEqual(rows, [{"id": 1, "type": "screenshot", "path": "/a b/ả.png"},
                                {"id": 2, "type": "video", "path": "/x.mp4"}])
        self.assertEqual(session.sqlite(db, "SELECT * FROM captures WHERE id > 5"), [])


if __name__ == "__main__":
    harness.main()
