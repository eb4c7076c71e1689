"""System-test harness: one private desktop per session (Xvfb, openbox, trayer, a PulseAudio
null sink, HOME and XDG folders in a temporary folder) and teardown that ends every process
it started. A test file subclasses SystemTestCase and ends with `harness.main()`."""

import argparse
import atexit
import contextlib
import os
import random
import shutil
import signal
import subprocess
import sys
import tempfile
import types
import unittest
import uuid
from pathlib import Path

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

from procs import TOKEN_VARIABLE, ManagedProcess, process_table, session_processes, wait_until  # noqa: E402,F401
from xtools import Display, tool_path  # noqa: E402,F401

_OPENBOX_RC = """<openbox_config xmlns="http://openbox.org/3.4/rc">
  <focus><focusNew>yes</focusNew><followMouse>no</followMouse></focus>
  <placement><policy>Smart</policy><center>yes</center></placement><desktops><number>1</number></desktops>
  <keyboard><keybind key="A-F4"><action name="Close"/></keybind></keyboard>
  <mouse><context name="Client"><mousebind button="Left" action="Press">
    <action name="Focus"/><action name="Raise"/></mousebind></context></mouse>
</openbox_config>
"""

# Everything else is built here, so the app never sees the user's session (bus, display).
_PASS_THROUGH = ("PATH", "LD_LIBRARY_PATH", "ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS",
                 "TSAN_OPTIONS", "QT_LOGGING_RULES", "QT_DEBUG_PLUGINS")
_DESKTOP_SERVICES = ("Xvfb", "openbox", "trayer", "pulseaudio")
NULL_SINK = "vistrel_null"
_open_sessions = []


def close_open_sessions():
    for session in list(_open_sessions):
        session.close()


def _on_signal(signum, _frame):
    # unittest swallows SystemExit inside a test, so end here.
    close_open_sessions()
    sys.stderr.write("system test interrupted by signal %d\n" % signum)
    os._exit(128 + signum)


def install_teardown():
    atexit.register(close_open_sessions)
    for signum in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(signum, _on_signal)


class Session:
    """One private desktop plus the built binaries and the tools to drive them."""

    def __init__(self, build_dir, screen=(1920, 1080), scale=1.0, tray=True, audio=True):
        self.build_dir = os.path.abspath(build_dir)
        self.screen, self.scale, self.tray, self.audio = screen, scale, tray, audio
        self.token = uuid.uuid4().hex
        self.root = tempfile.mkdtemp(prefix="vistrel-system-")
        self.home, self.runtime_dir, self.logs_dir = (os.path.join(self.root, d) for d in ("home", "run", "logs"))
        self.data_home, self.desktop_dir, self.documents_dir = (
            os.path.join(self.home, d) for d in (".local/share", "Desktop", "Documents"))
        self.display, self.x, self.processes, self.leftovers, self.closed = None, None, [], [], False

    def start(self):
        _open_sessions.append(self)
        try:
            self._make_folders()
            self._start_servers()
        except BaseException:
            self.close()
            raise
        return self

    def _make_folders(self):
        config = os.path.join(self.home, ".config")
        for path in (self.logs_dir, self.scratch(""), config, self.data_home, self.desktop_dir,
                     self.documents_dir, os.path.join(self.home, ".cache"),
                     os.path.join(self.root, "tmp")):
            os.makedirs(path, exist_ok=True)
        os.makedirs(self.runtime_dir, mode=0o700)
        for path, text in ((os.path.join(config, "user-dirs.dirs"),
                            'XDG_DESKTOP_DIR="$HOME/Desktop"\nXDG_DOCUMENTS_DIR="$HOME/Documents"\n'),
                           (os.path.join(self.root, "openbox-rc.xml"), _OPENBOX_RC),
                           (os.path.join(self.root, "pulse-client.conf"), "autospawn = no\n")):
            Path(path).write_text(text)
        pulse = os.path.join(self.runtime_dir, "pulse")
        self.env = {k: os.environ[k] for k in _PASS_THROUGH if k in os.environ}
        self.env.update({
            TOKEN_VARIABLE: self.token, "LANG": "C.UTF-8", "HOME": self.home,
            "TMPDIR": os.path.join(self.root, "tmp"), "XDG_CONFIG_HOME": config,
            "XDG_DATA_HOME": self.data_home, "XDG_CACHE_HOME": os.path.join(self.home, ".cache"),
            "XDG_RUNTIME_DIR": self.runtime_dir, "XAUTHORITY": os.path.join(self.root, "Xauthority"),
            # A bus that cannot connect: no autolaunched dbus-daemon, and Qt's tray icon falls
            # back to the XEmbed tray that trayer hosts.
            "DBUS_SESSION_BUS_ADDRESS": "unix:path=" + os.path.join(self.runtime_dir, "no-bus"),
            "PULSE_RUNTIME_PATH": pulse, "PULSE_SERVER": "unix:" + os.path.join(pulse, "native"),
            "PULSE_CLIENTCONFIG": os.path.join(self.root, "pulse-client.conf"),
            "NO_AT_BRIDGE": "1", "QT_ACCESSIBILITY": "0", "QT_QPA_PLATFORM": "xcb",
            "QT_SCALE_FACTOR": "%g" % self.scale})

    def _start_servers(self):
        # A random number, not the first free one: a server in another PID namespace sharing
        # /tmp takes a live server's lock for stale.
        self.display = self.env["DISPLAY"] = ":%d" % random.randrange(1000, 50000)
        # TERM lets the server remove its lock file.
        self.spawn("Xvfb", [tool_path("Xvfb"), self.display, "-screen", "0", "%dx%dx24" % self.screen,
                            "-nolisten", "tcp", "-noreset", "-dpi", "96"], death_signal=signal.SIGTERM)
        self.x = wait_until(lambda: Display(self.env), 20, "Xvfb to take clients on " + self.display)
        self.spawn("openbox", [tool_path("openbox"), "--sm-disable", "--config-file", self.root + "/openbox-rc.xml"])
        wait_until(lambda: self.x.selection_owner("WM_S0"), 20, "openbox to manage the screen")
        if self.tray:
            self.spawn("trayer", [tool_path("trayer"), "--edge", "top", "--align", "right", "--widthtype", "request",
                                  "--height", "24", "--SetDockType", "true", "--SetPartialStrut", "false",
                                  "--transparent", "false"])
            wait_until(lambda: self.x.selection_owner("_NET_SYSTEM_TRAY_S0"), 20,
                       "trayer to own the system tray")
        if self.audio:
            socket_path = os.path.join(self.runtime_dir, "pulse", "native")
            self.spawn("pulseaudio", [tool_path("pulseaudio"), "-n", "--daemonize=no", "--exit-idle-time=-1",
                                      "--use-pid-file=no", "--log-target=stderr", "-L", "module-null-sink sink_name="
                                      + NULL_SINK, "-L", "module-native-protocol-unix auth-anonymous=1 socket="
                                      + socket_path])
            wait_until(lambda: os.path.exists(socket_path), 20, "the PulseAudio socket")
            subprocess.run([tool_path("pactl"), "set-default-sink", NULL_SINK], env=self.env,
                           check=True, capture_output=True, timeout=20)

    def close(self):
        """Ends every process of the session (newest first) and removes its folder."""
        if self.closed:
            return
        self.closed = True
        if self.x is not None:
            self.x.close()
        for process in reversed(self.processes):
            process.stop()
        self.leftovers = session_processes(self.token)     # the sweep: processes that left their group
        for info in self.leftovers:
            with contextlib.suppress(ProcessLookupError):
                os.kill(info.pid, signal.SIGKILL)
        shutil.rmtree(self.root, ignore_errors=True)
        if self in _open_sessions:
            _open_sessions.remove(self)
        if self.leftovers:
            sys.stderr.write("ended processes that escaped their group: %s\n"
                             % ", ".join("%d %s" % (p.pid, p.args) for p in self.leftovers))

    def scratch(self, name):
        return os.path.join(self.root, "scratch", name)

    def binary(self, name):
        path = os.path.join(self.build_dir, "bin", name)
        if not os.access(path, os.X_OK):
            raise FileNotFoundError("%s is not built: build the target %s" % (path, name))
        return path

    def spawn(self, name, argv, extra_env=None, death_signal=signal.SIGKILL):
        """Starts a tracked process (argv[0] absolute); its output goes to logs/<name>.log."""
        log = os.path.join(self.logs_dir, "%d-%s.log" % (len(self.processes), name))
        process = ManagedProcess(name, argv, dict(self.env, **(extra_env or {})), log,
                                 cwd=self.home, death_signal=death_signal)
        self.processes.append(process)
        return process

    def launch(self, binary, args=(), extra_env=None):
        """Starts a built program from <build>/bin."""
        return self.spawn(binary, [self.binary(binary)] + list(args), extra_env)

    def file_tree(self, top=None):
        """Relative paths of every file under `top` (default HOME)."""
        top = top or self.home
        return sorted(os.path.relpath(os.path.join(folder, name), top)
                      for folder, _, files in os.walk(top) for name in files)

    def save_diagnostics(self, folder):
        """Screen, windows, processes and logs, for a failed test."""
        shutil.copytree(self.logs_dir, os.path.join(folder, "logs"), dirs_exist_ok=True)
        report = []

        def write(name, text):
            Path(folder, name).write_text(text + "\n", encoding="utf-8")
        for title, action in (
                ("screenshot", lambda: self.x.screenshot(os.path.join(folder, "screen.png"))),
                ("windows", lambda: write("windows.txt", "\n".join(
                    ["active: %s" % hex(self.x.active_window_id() or 0)] + ["%s  %s" % (
                        self.x.window(w), self.x.geometry(w)) for w in self.x.managed_window_ids()])))):
            try:
                action()
            except Exception as error:  # noqa: BLE001 - diagnostics are best effort
                report.append("%s failed: %s" % (title, error))
        report.append("processes:\n" + process_table(self.token))
        for p in self.processes:
            if p.name not in _DESKTOP_SERVICES:
                report.append("%s (pid %d, status %s), last lines of its output:\n%s" % (
                    p.name, p.pid, p.poll(), "\n".join(p.log_text().splitlines()[-20:])))
        return "\n".join(report)


class SystemTestCase(unittest.TestCase):
    """Base class: sessions opened by a test are closed (with diagnostics) after it."""

    SCREEN = (1920, 1080)
    options = None   # set by main()

    def _new_session(self, screen=None, scale=None, tray=True, audio=True):
        return Session(self.options.build_dir, screen or self.SCREEN, scale or 1.0, tray, audio).start()

    def start_session(self, screen=None, scale=None, tray=True, audio=True):
        """A running session that lives until the end of the test."""
        session = self._new_session(screen, scale, tray, audio)
        self.addCleanup(self._finish, session, None)
        return session

    @contextlib.contextmanager
    def session_scope(self, label, screen=None, scale=None):
        """A session for a `with` block (one row of a table): closed when the block ends."""
        session = self._new_session(screen, scale)
        try:
            yield session
        except BaseException:
            self._finish(session, label, failed=True)
            raise
        self._finish(session, label, failed=False)

    def _finish(self, session, label, failed=None):
        if failed is None:
            # Cleanups run with unittest's success flag reset, so ask the result instead.
            result = getattr(getattr(self, "_outcome", None), "result", None)
            failed = result is None or any(
                test is self or getattr(test, "test_case", None) is self
                for test, _ in list(result.failures) + list(result.errors))
        if failed or self.options.keep_artifacts:
            name = self.id().split(".", 1)[-1] + ("-" + label if label else "")
            folder = os.path.join(self.options.artifacts_dir, name)
            shutil.rmtree(folder, ignore_errors=True)
            report = session.save_diagnostics(folder)
            if failed:
                sys.stderr.write("\n[%s] diagnostics in %s\n%s\n" % (name, folder, report))
        session.close()


def main():
    """Command line of every test file: --build-dir, --list, then unittest's own."""
    parser = argparse.ArgumentParser(add_help=False)
    parser.add_argument("--build-dir", default=os.environ.get("VISTREL_BUILD_DIR", os.path.join(
        os.path.dirname(os.path.abspath(__file__)), "..", "..", "build")))
    parser.add_argument("--keep-artifacts", action="store_true")
    parser.add_argument("--list", action="store_true")
    known, rest = parser.parse_known_args()
    build_dir = os.path.abspath(known.build_dir)
    SystemTestCase.options = types.SimpleNamespace(
        build_dir=build_dir, keep_artifacts=known.keep_artifacts,
        artifacts_dir=os.path.join(build_dir, "Testing", "system-artifacts"))
    module = sys.modules["__main__"]
    if known.list:
        print("\n".join(_names(unittest.defaultTestLoader.loadTestsFromModule(module))))
        return
    install_teardown()
    unittest.main(module=module, argv=[sys.argv[0]] + rest, verbosity=2)


def _names(suite):
    for item in suite:
        yield from _names(item) if isinstance(item, unittest.TestSuite) else [item.id().split(".", 1)[1]]
