#!/usr/bin/env python3
"""The harness itself: an interrupted or killed run leaves no process, lock or folder behind,
even with a child that ignores SIGTERM and a grandchild that left its group. Needs no app."""

import os
import select
import shutil
import signal
import subprocess
import sys

import harness
from procs import session_processes, wait_until

_RUNNER = """
import sys, time
sys.path.insert(0, sys.argv[1])
import harness
harness.install_teardown()
session = harness.Session(sys.argv[2], audio=False).start()
session.spawn("child", [sys.executable, "-c", sys.argv[3]])
print(session.token, session.display, session.root, flush=True)
time.sleep(600)
"""
# Ignores SIGTERM and starts a grandchild in its own session, out of reach of the group kill.
_STUBBORN = """
import os, signal, subprocess, sys, time
signal.signal(signal.SIGTERM, signal.SIG_IGN)
subprocess.Popen([sys.executable, "-c", "import os, time; os.setsid(); time.sleep(600)"])
time.sleep(600)
"""


class HarnessTests(harness.SystemTestCase):

    def test_interrupted_harness_leaves_no_process(self):
        # (signal, the session's child): a killed harness runs no teardown, so only the
        # children's death signal ends them, and an escaped grandchild would outlive it.
        for signum, child, processes in ((signal.SIGTERM, _STUBBORN, 5), (signal.SIGINT, _STUBBORN, 5),
                                         (signal.SIGKILL, "import time; time.sleep(600)", 4)):
            with self.subTest(signal=signum):
                runner = subprocess.Popen([sys.executable, "-c", _RUNNER, os.path.dirname(os.path.abspath(__file__)),
                                           self.options.build_dir, child], stdout=subprocess.PIPE)
                root = None
                try:
                    self.assertTrue(select.select([runner.stdout], [], [], 30)[0], "the runner did not start")
                    token, display, root = runner.stdout.readline().decode().split()
                    # Xvfb, openbox, trayer, the child and its grandchild.
                    wait_until(lambda: len(session_processes(token)) == processes, 10, "the session's processes")
                    runner.send_signal(signum)
                    # Each process gets a grace period before its kill; on a loaded machine
                    # several of them use it all.
                    status = runner.wait(90)
                    wait_until(lambda: not session_processes(token), 10, "the session's processes to end")
                    wait_until(lambda: not os.path.exists("/tmp/.X%s-lock" % display.lstrip(":")), 10,
                               "Xvfb to remove its lock")
                    if signum != signal.SIGKILL:
                        self.assertEqual((status, os.path.exists(root)), (128 + signum, False))
                finally:
                    if runner.poll() is None:
                        runner.kill()
                        runner.wait()
                    runner.stdout.close()
                    if root:   # a killed harness cannot remove its folder
                        shutil.rmtree(root, ignore_errors=True)


if __name__ == "__main__":
    harness.main()
