#!/usr/bin/env python3
"""The `vistrel` command: it drives the running app (starting it when none runs), prints
what a capture saved, and says in one line when it cannot."""

import os
import re
import subprocess
import time

from PIL import Image

import harness
from procs import session_processes
from test_recording import HUD_TITLE, probe
from test_screenshot import paint_root, pattern_rgb, pattern_rows
from vistrel_app import MAIN_TITLE_PREFIX, VistrelApp, swap_problems

NAME = re.compile(r"^Screenshot_\d{4}-\d\d-\d\d_\d\d-\d\d-\d\d(_\d+)?\.png$")


class Command:
    """One `vistrel ...` run in the background, its output captured apart."""

    def __init__(self, session, args, env=None):
        self.popen = subprocess.Popen([session.require_binary("vistrel")] + list(args),
                                      env=env if env is not None else session.env,
                                      cwd=session.home, stdin=subprocess.DEVNULL,
                                      stdout=subprocess.PIPE, stderr=subprocess.PIPE)

    def finish(self, timeout=30):
        """(exit status, stdout, stderr)."""
        try:
            out, err = self.popen.communicate(timeout=timeout)
        except subprocess.TimeoutExpired:
            self.popen.kill()
            out, err = self.popen.communicate()
            raise AssertionError("vistrel still running after %d s; said %r %r" % (timeout, out, err))
        return self.popen.returncode, out.decode(), err.decode()


def run(session, args, env=None, timeout=30):
    return Command(session, args, env).finish(timeout)


def app_pids(session):
    """Running copies of the app in this session: the binary started without a command."""
    return {p.pid for p in session_processes(session.desktop.token) if p.args == session.binary("vistrel")}


def running_app(session):
    """The one copy of the app the command started, once it runs."""
    pids = harness.wait_until(lambda: app_pids(session), 40, "the app to start")
    return VistrelApp(session, pid=min(pids))


class CommandLineTests(harness.SystemTestCase):

    def test_screenshot_starts_the_app_prints_the_png_and_escape_exits_1(self):
        session = self.start_session()
        width, height = session.desktop.screen
        paint_root(session.env["DISPLAY"], width, height, pattern_rows(width, height))
        self.assertEqual(app_pids(session), set())

        # Nothing runs yet: the command starts the app, then the capture.
        shot = Command(session, ["screenshot"])
        app = running_app(session)
        harness.wait_until(app.selector, 40, "the region selector")
        x0, y0, w, h = 300, 400, 120, 60
        session.x.drag_line(x0, y0, x0 + w, y0 + h)
        status, out, err = shot.finish()
        self.assertEqual((status, err), (0, ""), out)
        path = out.rstrip("\n")
        self.assertEqual(out, path + "\n")
        self.assertEqual(os.path.dirname(path), session.desktop_dir)
        self.assertRegex(os.path.basename(path), NAME)
        with Image.open(path) as image:
            self.assertEqual(image.size, (w, h))
            self.assertEqual(image.convert("RGB").getpixel((5, 7)), pattern_rgb(x0 + 5, y0 + 7))
        pids = app_pids(session)
        self.assertEqual(len(pids), 1)

        # Escape: nothing saved, nothing printed, status 1; the same app did the work.
        cancelled = Command(session, ["screenshot"])
        harness.wait_until(app.selector, 20, "the region selector")
        session.x.key("Escape")
        self.assertEqual(cancelled.finish(), (1, "", ""))
        self.assertEqual(sorted(os.listdir(session.desktop_dir)), [os.path.basename(path)])
        self.assertEqual(app_pids(session), pids)
        self.assertEqual(run(session, ["quit"]), (0, "", ""))

    def test_record_twice_prints_the_mp4(self):
        session = self.start_session()
        first = Command(session, ["record"])
        app = running_app(session)
        harness.wait_until(app.selector, 40, "the recording region selector")
        session.x.drag_line(200, 200, 520, 440)
        session.x.wait_for_window(name=HUD_TITLE, pid=app.pid, timeout=20)
        self.assertEqual(first.popen.poll(), None)       # it waits for the recording to end
        time.sleep(2)    # the length of the recording itself
        status, out, err = run(session, ["record"])
        self.assertEqual((status, err), (0, ""), out)
        path = out.rstrip("\n")
        self.assertEqual(os.path.dirname(path), os.path.join(session.documents_dir, "Vistrel", "Recordings"))
        self.assertRegex(os.path.basename(path), r"^Recording_[\d_-]+\.mp4$")
        # The first command, which started the recording, reports the same file.
        self.assertEqual(first.finish(), (0, path + "\n", ""))
        streams, duration = probe(path)
        self.assertEqual((streams["video"]["width"], streams["video"]["height"]), (320, 240))
        self.assertIn("audio", streams)
        self.assertGreater(duration, 1.5)
        self.assertEqual(run(session, ["quit"]), (0, "", ""))

    def test_mapping_and_quit_take_effect_before_the_command_returns(self):
        session = self.start_session()
        x = session.x
        before = x.keymap()
        app = VistrelApp(session)
        app.launch()
        app.main_window()
        app.wait_swapped()
        # (arguments, the keymap's problems with the swap are expected: none / some)
        for args, swapped in ((["mapping", "off"], False), (["mapping", "on"], True),
                              (["mapping", "on"], True), (["mapping", "off"], False),
                              (["mapping", "on"], True)):
            with self.subTest(" ".join(args)):
                self.assertEqual(run(session, args), (0, "", ""))
                keymap = x.keymap()
                if swapped:
                    self.assertEqual(swap_problems(keymap), [])
                else:
                    self.assertEqual(keymap.differences(before), [])
        self.assertEqual(run(session, ["quit"]), (0, "", ""))
        self.assertEqual(x.keymap().differences(before), [])
        self.assertEqual(app.process.wait(5), 0)
        # Nothing runs now; quitting again starts nothing and is no error.
        self.assertEqual(run(session, ["quit"]), (0, "", ""))
        self.assertEqual(x.windows(prefix=MAIN_TITLE_PREFIX), [])

    def test_help_version_bad_arguments_and_no_usable_display(self):
        session = self.start_session(tray=False, audio=False)
        env_without_display = {k: v for k, v in session.env.items() if k != "DISPLAY"}
        env_dead_display = dict(session.env, DISPLAY=":987")
        # (label, arguments, environment, exit status, stdout must match, stderr must match)
        cases = [
            ("help", ["--help"], None, 0, r"^Usage: vistrel \[COMMAND\]\n(.*\n)+$", r"^$"),
            ("short help", ["screenshot", "-h"], None, 0, r"^Usage: vistrel ", r"^$"),
            ("version", ["--version"], None, 0, r"^vistrel \d+\.\d+\.\d+\n$", r"^$"),
            ("unknown command", ["shoot"], None, 2, r"^$",
             r"^vistrel: unknown command 'shoot'\. Try 'vistrel --help'\.\n$"),
            ("extra argument", ["quit", "now"], None, 2, r"^$",
             r"^vistrel: unexpected argument 'now'\. Try 'vistrel --help'\.\n$"),
            ("mapping without a state", ["mapping"], None, 2, r"^$", r"^vistrel: mapping needs [^\n]*\n$"),
            ("no display", ["screenshot"], env_without_display, 3, r"^$",
             r"^vistrel: no display [^\n]*DISPLAY is not set[^\n]*\n$"),
            ("a display nobody serves", ["screenshot"], env_dead_display, 3, r"^$",
             r"^vistrel: Vistrel could not start on display :987\n$"),
        ]
        for label, args, env, status, out_re, err_re in cases:
            with self.subTest(label):
                started = time.monotonic()
                got_status, out, err = run(session, args, env=env)
                self.assertEqual(got_status, status, (out, err))
                self.assertRegex(out, out_re)
                self.assertRegex(err, err_re)
                self.assertLess(time.monotonic() - started, 15)


if __name__ == "__main__":
    harness.main()
