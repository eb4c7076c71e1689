#!/usr/bin/env python3
"""The harness itself: teardown leaves nothing running, even when interrupted, and a
failed test leaves what is needed to see why. Needs no app."""

import os
import select
import shutil
import signal
import subprocess
import sys
import tempfile

import harness
from procs import session_processes, wait_until
from xtools import read_png

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


class HarnessTests(harness.SystemTestCase):

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


if __name__ == "__main__":
    harness.main()
