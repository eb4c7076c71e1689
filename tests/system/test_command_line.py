#!/usr/bin/env python3
"""The `vistrel` command, which drives the running app or starts it."""

import os
import re
import subprocess
import time

import harness
from procs import session_processes
from test_recording import HUD_TITLE, NAME, probe
from vistrel_app import MAIN_TITLE_PREFIX, SCREENSHOT_NAME, VistrelApp, swap_problems
from xtools import pattern_rgb, read_png


def command(session, args, env=None):
    """One `vistrel ...` run in the background (the session's sweep ends it if it hangs)."""
    return subprocess.Popen([session.binary("vistrel")] + list(args), env=env or session.env,
                            cwd=session.home, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                            stderr=subprocess.PIPE, text=True)


def finish(popen):
    """(exit status, stdout, stderr)."""
    out, err = popen.communicate(timeout=30)
    return popen.returncode, out, err


def run(session, args, env=None):
    return finish(command(session, args, env))


def running_app(session):
    """The one copy of the app the command started (the binary run without a command)."""
    pids = harness.wait_until(lambda: app_pids(session), 40, "the app to start")
    return VistrelApp(session, pid=min(pids))


def app_pids(session):
    return {p.pid for p in session_processes(session.token) if p.args == session.binary("vistrel")}


class CommandLineTests(harness.SystemTestCase):

    def test_screenshot_mapping_and_quit_through_the_app_the_first_command_started(self):
        session = self.start_session()
        x = session.x
        before = x.keymap()
        x.paint_pattern(*session.screen, session.scratch("pattern.png"))
        self.assertEqual(app_pids(session), set())

        # Nothing runs yet: the command starts the app, then the capture.
        shot = command(session, ["screenshot"])
        app = running_app(session)
        harness.wait_until(app.selector, 40, "the region selector")
        x0, y0, w, h = 300, 400, 120, 60
        x.drag_line(x0, y0, x0 + w, y0 + h)
        status, out, err = finish(shot)
        self.assertEqual((status, err), (0, ""), out)
        self.assertRegex(out, "^%s/%s\n$" % (re.escape(session.desktop_dir), SCREENSHOT_NAME.pattern[1:-1]))
        path, image = out[:-1], read_png(out[:-1])
        self.assertEqual((image.size, image.getpixel((5, 7))), ((w, h), pattern_rgb(x0 + 5, y0 + 7)))
        pids = app_pids(session)
        self.assertEqual(len(pids), 1)

        # Escape: nothing saved, nothing printed, status 1; the same app did the work.
        cancelled = command(session, ["screenshot"])
        harness.wait_until(app.selector, 20, "the region selector")
        x.key("Escape")
        self.assertEqual(finish(cancelled), (1, "", ""))
        self.assertEqual(sorted(os.listdir(session.desktop_dir)), [os.path.basename(path)])
        self.assertEqual(app_pids(session), pids)

        # Mapping and quit take effect before the command returns.
        app.wait_swapped()
        for args, swapped in ((["mapping", "off"], False), (["mapping", "on"], True), (["mapping", "on"], True),
                              (["mapping", "off"], False), (["mapping", "on"], True)):
            with self.subTest(" ".join(args)):
                self.assertEqual(run(session, args), (0, "", ""))
                if swapped:
                    self.assertEqual(swap_problems(x.keymap()), [])
                else:
                    self.assertEqual(x.keymap().differences(before), [])
        self.assertEqual(run(session, ["quit"]), (0, "", ""))
        self.assertEqual(x.keymap().differences(before), [])
        harness.wait_until(lambda: not app_pids(session), 5, "the app to exit")
        # Nothing runs now; quitting again starts nothing and is no error.
        self.assertEqual(run(session, ["quit"]), (0, "", ""))
        self.assertEqual((x.windows(prefix=MAIN_TITLE_PREFIX), app_pids(session)), ([], set()))

    def test_record_twice_prints_the_mp4(self):
        session = self.start_session()
        x = session.x
        first = command(session, ["record"])
        app = running_app(session)
        harness.wait_until(app.selector, 40, "the recording region selector")
        x.drag_line(200, 200, 520, 440)
        x.wait_for_window(name=HUD_TITLE, pid=app.pid, timeout=20)
        self.assertEqual(first.poll(), None)       # it waits for the recording to end
        time.sleep(2)    # the length of the recording itself
        status, out, err = run(session, ["record"])
        self.assertEqual((status, err), (0, ""), out)
        self.assertRegex(out, "^%s/%s\n$" % (re.escape(os.path.join(session.documents_dir, "Vistrel", "Recordings")),
                                              NAME.pattern[1:-1]))
        path = out[:-1]
        # The first command, which started the recording, reports the same file.
        self.assertEqual(finish(first), (0, path + "\n", ""))
        video = probe(path)[0]["video"]
        self.assertEqual((video["width"], video["height"]), (320, 240))
        self.assertEqual(run(session, ["quit"]), (0, "", ""))

    def test_help_version_bad_arguments_and_no_usable_display(self):
        session = self.start_session(tray=False, audio=False)
        env_without_display = {k: v for k, v in session.env.items() if k != "DISPLAY"}
        env_dead_display = dict(session.env, DISPLAY=":987")
        # (label, arguments, environment, exit status, stdout must match, stderr must match)
        cases = [
            ("help", ["--help"], None, 0, r"^Usage: vistrel \[COMMAND\]\n(.*\n)+$", r"^$"),
            ("version", ["--version"], None, 0, r"^vistrel \d+\.\d+\.\d+\n$", r"^$"),
            ("unknown command", ["shoot"], None, 2, r"^$",
             r"^vistrel: unknown command 'shoot'\. Try 'vistrel --help'\.\n$"),
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
