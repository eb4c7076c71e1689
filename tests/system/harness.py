"""System-test harness: runs the built app on a private desktop and drives it.

A test file subclasses SystemTestCase and ends with `harness.main()`:

    class MyTests(harness.SystemTestCase):
        def test_something(self):
            session = self.start_session()            # Xvfb, openbox, trayer, PulseAudio
            app = session.launch("vistrel")           # <build>/bin/vistrel
            window = session.x.wait_for_window(prefix="Vistrel ", pid=app.pid)
            session.x.press_keycodes("133+23")        # physical Super+Tab
            ...

    python3 tests/system/test_x.py --build-dir build [TestClass.test_name ...]

Every process started for a session is ended when the session closes, when the
test fails, and when the harness is interrupted; nothing outside the session's
temporary HOME and private X server is touched. On failure the screen, keymap,
window list, process tree and logs are saved under <build>/Testing/system-artifacts.
"""

import argparse
import atexit
import os
import shutil
import signal
import sys
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

from desktop import Desktop                          # noqa: E402
from procs import WaitTimeout, process_tree, wait_until   # noqa: E402,F401
from xtools import Display, ToolMissing, sqlite_rows      # noqa: E402,F401


class _OpenSessions:
    """Sessions still running, closed from atexit and signal handlers."""

    def __init__(self):
        self.sessions = []

    def close_all(self):
        for session in list(self.sessions):
            session.close()

    def install(self):
        atexit.register(self.close_all)
        for signum in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            signal.signal(signum, self._on_signal)

    def _on_signal(self, signum, _frame):
        # unittest swallows SystemExit inside a test, so end here.
        self.close_all()
        sys.stderr.write("system test interrupted by signal %d\n" % signum)
        sys.stderr.flush()
        os._exit(128 + signum)


_open_sessions = _OpenSessions()


class Options:
    def __init__(self, build_dir, artifacts_dir, keep_artifacts):
        self.build_dir = build_dir
        self.artifacts_dir = artifacts_dir
        self.keep_artifacts = keep_artifacts


class Session:
    """One private desktop plus the built binaries and the tools to drive them."""

    def __init__(self, build_dir, screen=(1920, 1080), scale=1.0, tray=True, audio=True):
        self.build_dir = os.path.abspath(build_dir)
        self.bin_dir = os.path.join(self.build_dir, "bin")
        self.scale = scale
        self.desktop = Desktop(screen=screen, tray=tray, audio=audio)
        self.x = None
        self.closed = False

    # -- lifecycle -----------------------------------------------------------

    def start(self):
        _open_sessions.sessions.append(self)
        try:
            self.desktop.start()
        except BaseException:
            self.close()
            raise
        if self.scale != 1.0:
            self.desktop.env["QT_SCALE_FACTOR"] = ("%g" % self.scale)
        self.x = Display(self.desktop.env, keys_helper=self.binary("vistrel-test-keys"))
        return self

    def close(self):
        if self.closed:
            return
        self.closed = True
        self.desktop.close()
        if self in _open_sessions.sessions:
            _open_sessions.sessions.remove(self)
        if self.desktop.leftovers:
            sys.stderr.write("ended processes that escaped their group: %s\n"
                             % ", ".join("%d %s" % (p.pid, p.args) for p in self.desktop.leftovers))

    # -- paths ---------------------------------------------------------------

    @property
    def env(self):
        return self.desktop.env

    @property
    def home(self):
        return self.desktop.home

    @property
    def data_home(self):
        return self.desktop.data_home

    @property
    def desktop_dir(self):
        return self.desktop.desktop_dir

    @property
    def documents_dir(self):
        return self.desktop.documents_dir

    def scratch(self, name):
        return os.path.join(self.desktop.scratch_dir, name)

    def binary(self, name):
        return os.path.join(self.bin_dir, name)

    def require_binary(self, name):
        path = self.binary(name)
        if not os.access(path, os.X_OK):
            raise ToolMissing("%s is not built: build the target %s in %s"
                              % (path, name, self.build_dir))
        return path

    # -- processes -----------------------------------------------------------

    def launch(self, binary, args=(), extra_env=None):
        """Starts a built program from <build>/bin with the session's environment."""
        env = dict(self.env)
        env.update(extra_env or {})
        return self.desktop.spawn(binary, [self.require_binary(binary)] + list(args), env=env)

    def spawn(self, name, argv, extra_env=None):
        """Starts any program (argv[0] absolute) inside the session."""
        env = dict(self.env)
        env.update(extra_env or {})
        return self.desktop.spawn(name, argv, env=env)

    def process_tree(self):
        return process_tree(self.desktop.token)

    # -- files ---------------------------------------------------------------

    def file_tree(self, top=None):
        """{relative path: content} of every file under `top` (default HOME)."""
        top = top or self.home
        found = {}
        for folder, _, files in os.walk(top):
            for name in files:
                path = os.path.join(folder, name)
                try:
                    with open(path, "rb") as f:
                        data = f.read()
                except OSError:
                    continue
                found[os.path.relpath(path, top)] = data
        return found

    # -- diagnostics ---------------------------------------------------------

    def save_diagnostics(self, folder):
        """Screen, keymap, windows, processes and logs, for a failed test."""
        os.makedirs(folder, exist_ok=True)
        report = []

        def attempt(title, action):
            try:
                action()
            except Exception as error:  # noqa: BLE001 - diagnostics are best effort
                report.append("%s failed: %s" % (title, error))

        def windows():
            lines = ["active: %s" % (hex(self.x.active_window_id() or 0))]
            for wid in self.x.managed_window_ids():
                info = self.x.window(wid)
                lines.append("%s  %s" % (info, self.x.geometry(wid)))
            _write(folder, "windows.txt", "\n".join(lines) + "\n")

        if self.x is not None and self.desktop.display:
            attempt("screenshot", lambda: self.x.screenshot(os.path.join(folder, "screen.png")))
            attempt("keymap", lambda: _write(folder, "keymap.txt", self.x.text(["xmodmap", "-pm"])
                                             + "\n" + self.x.text(["xmodmap", "-pke"])))
            attempt("windows", windows)
        tree = self.process_tree()
        _write(folder, "processes.txt", tree)
        _write(folder, "home-files.txt",
               "\n".join("%8d  %s" % (len(data), path)
                         for path, data in sorted(self.file_tree().items())) + "\n")
        if os.path.isdir(self.desktop.logs_dir):
            shutil.copytree(self.desktop.logs_dir, os.path.join(folder, "logs"),
                            dirs_exist_ok=True)
        report.append("process tree:\n" + tree)
        for process in self.desktop.processes:
            if process.name not in _DESKTOP_SERVICES:
                tail = process.log_text().splitlines()[-20:]
                report.append("%s (pid %d, status %s), last lines of its output:\n%s"
                              % (process.name, process.pid, process.returncode, "\n".join(tail)))
        return "\n".join(report)


_DESKTOP_SERVICES = ("Xvfb", "openbox", "trayer", "pulseaudio")


def _write(folder, name, text):
    with open(os.path.join(folder, name), "w", encoding="utf-8") as f:
        f.write(text)


class SystemTestCase(unittest.TestCase):
    """Base class: sessions opened by a test are closed (with diagnostics) after it."""

    SCREEN = (1920, 1080)
    SCALE = 1.0
    options = None   # set by main()

    def start_session(self, screen=None, scale=None, tray=True, audio=True):
        """A running session that lives until the end of the test."""
        session = self._new_session(screen, scale, tray, audio)
        self.addCleanup(self._finish, session, None)
        return session

    def session_scope(self, label, screen=None, scale=None):
        """A session for a `with` block (one row of a table): closed when the block ends."""
        return _Scope(self, label, screen, scale)

    def _new_session(self, screen, scale, tray=True, audio=True):
        options = self.options or default_options()
        session = Session(options.build_dir, screen=screen or self.SCREEN,
                          scale=scale or self.SCALE, tray=tray, audio=audio)
        return session.start()

    def _has_failed(self):
        # Cleanups run with unittest's success flag reset, so ask the result instead.
        result = getattr(getattr(self, "_outcome", None), "result", None)
        if result is None:
            return True
        return any(test is self or getattr(test, "test_case", None) is self
                   for test, _ in list(result.failures) + list(result.errors))

    def _finish(self, session, label, failed=None):
        if failed is None:
            failed = self._has_failed()
        options = self.options or default_options()
        if failed or options.keep_artifacts:
            name = self.id().split(".", 1)[-1] + ("-" + label if label else "")
            folder = os.path.join(options.artifacts_dir, name)
            shutil.rmtree(folder, ignore_errors=True)
            report = session.save_diagnostics(folder)
            if failed:
                sys.stderr.write("\n[%s] diagnostics in %s\n%s\n" % (name, folder, report))
        session.close()


class _Scope:
    def __init__(self, case, label, screen, scale):
        self.case, self.label, self.screen, self.scale = case, label, screen, scale
        self.session = None

    def __enter__(self):
        self.session = self.case._new_session(self.screen, self.scale)
        return self.session

    def __exit__(self, exc_type, exc, tb):
        self.case._finish(self.session, self.label, failed=exc_type is not None)
        return False


def default_options():
    here = os.path.dirname(os.path.abspath(__file__))
    build_dir = os.environ.get("VISTREL_BUILD_DIR",
                               os.path.join(os.path.dirname(os.path.dirname(here)), "build"))
    return Options(build_dir, os.path.join(build_dir, "Testing", "system-artifacts"), False)


def main():
    """Command line of every test file: --build-dir, --list, then unittest's own."""
    parser = argparse.ArgumentParser(add_help=False)
    parser.add_argument("--build-dir")
    parser.add_argument("--artifacts-dir")
    parser.add_argument("--keep-artifacts", action="store_true")
    parser.add_argument("--list", action="store_true",
                        help="print the test names, one per line, and exit")
    known, rest = parser.parse_known_args()
    defaults = default_options()
    build_dir = os.path.abspath(known.build_dir) if known.build_dir else defaults.build_dir
    SystemTestCase.options = Options(
        build_dir,
        os.path.abspath(known.artifacts_dir) if known.artifacts_dir
        else os.path.join(build_dir, "Testing", "system-artifacts"),
        known.keep_artifacts)
    module = sys.modules["__main__"]
    if known.list:
        suite = unittest.defaultTestLoader.loadTestsFromModule(module)
        for test in _flatten(suite):
            print(test.id().split(".", 1)[1])
        return
    _open_sessions.install()
    unittest.main(module=module, argv=[sys.argv[0]] + rest, verbosity=2)


def _flatten(suite):
    for item in suite:
        if isinstance(item, unittest.TestSuite):
            yield from _flatten(item)
        else:
            yield item
