"""A private desktop for one test: Xvfb, openbox, trayer and a PulseAudio null sink,
with HOME and the XDG folders inside a temporary directory.
"""

import ctypes
import os
import select
import shutil
import signal
import subprocess
import tempfile
import time
import uuid

from procs import (TOKEN_VARIABLE, ManagedProcess, kill_session_processes, wait_until)
from xtools import tool_path

_OPENBOX_RC = """<?xml version="1.0" encoding="UTF-8"?>
<openbox_config xmlns="http://openbox.org/3.4/rc">
  <focus><focusNew>yes</focusNew><followMouse>no</followMouse></focus>
  <placement><policy>Smart</policy><center>yes</center></placement>
  <desktops><number>1</number></desktops>
  <keyboard>
    <keybind key="A-F4"><action name="Close"/></keybind>
  </keyboard>
  <mouse>
    <context name="Client">
      <mousebind button="Left" action="Press">
        <action name="Focus"/><action name="Raise"/>
      </mousebind>
    </context>
    <context name="Titlebar">
      <mousebind button="Left" action="Press">
        <action name="Focus"/><action name="Raise"/>
      </mousebind>
      <mousebind button="Left" action="Drag"><action name="Move"/></mousebind>
    </context>
  </mouse>
</openbox_config>
"""

# Variables passed through from the caller's environment; everything else is built
# here so the app never sees the user's session (bus, session manager, display).
_PASS_THROUGH = ("PATH", "LD_LIBRARY_PATH", "ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS",
                 "TSAN_OPTIONS", "QT_LOGGING_RULES", "QT_DEBUG_PLUGINS")

NULL_SINK = "vistrel_null"


def selection_owner(display, selection):
    """The X window owning a selection, 0 if none (Xlib through ctypes)."""
    xlib = ctypes.CDLL("libX11.so.6")
    xlib.XOpenDisplay.restype = ctypes.c_void_p
    xlib.XOpenDisplay.argtypes = [ctypes.c_char_p]
    xlib.XInternAtom.restype = ctypes.c_ulong
    xlib.XInternAtom.argtypes = [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_int]
    xlib.XGetSelectionOwner.restype = ctypes.c_ulong
    xlib.XGetSelectionOwner.argtypes = [ctypes.c_void_p, ctypes.c_ulong]
    xlib.XCloseDisplay.argtypes = [ctypes.c_void_p]
    handle = xlib.XOpenDisplay(display.encode())
    if not handle:
        raise RuntimeError("cannot open display %s" % display)
    try:
        return xlib.XGetSelectionOwner(handle, xlib.XInternAtom(handle, selection.encode(), 0))
    finally:
        xlib.XCloseDisplay(handle)


class Desktop:
    """Owns the servers and the temporary home of one test session."""

    def __init__(self, screen=(1920, 1080), tray=True, audio=True):
        self.screen = screen
        self.tray = tray
        self.audio = audio
        self.token = uuid.uuid4().hex
        self.root = None
        self.env = None
        self.display = None
        self.processes = []
        self.leftovers = []

    # -- folders -------------------------------------------------------------

    def _make_folders(self):
        self.root = tempfile.mkdtemp(prefix="vistrel-system-")
        self.home = os.path.join(self.root, "home")
        self.runtime_dir = os.path.join(self.root, "run")
        self.logs_dir = os.path.join(self.root, "logs")
        self.scratch_dir = os.path.join(self.root, "scratch")
        self.config_home = os.path.join(self.home, ".config")
        self.data_home = os.path.join(self.home, ".local", "share")
        self.cache_home = os.path.join(self.home, ".cache")
        self.desktop_dir = os.path.join(self.home, "Desktop")
        self.documents_dir = os.path.join(self.home, "Documents")
        for path in (self.logs_dir, self.scratch_dir, self.config_home, self.data_home,
                     self.cache_home, self.desktop_dir, self.documents_dir,
                     os.path.join(self.root, "tmp")):
            os.makedirs(path, exist_ok=True)
        os.makedirs(self.runtime_dir, mode=0o700)
        with open(os.path.join(self.config_home, "user-dirs.dirs"), "w") as dirs:
            dirs.write('XDG_DESKTOP_DIR="$HOME/Desktop"\nXDG_DOCUMENTS_DIR="$HOME/Documents"\n')
        with open(os.path.join(self.root, "openbox-rc.xml"), "w") as rc:
            rc.write(_OPENBOX_RC)
        with open(os.path.join(self.root, "pulse-client.conf"), "w") as conf:
            conf.write("autospawn = no\n")

    def _base_env(self):
        env = {k: os.environ[k] for k in _PASS_THROUGH if k in os.environ}
        env.update({
            TOKEN_VARIABLE: self.token,
            "LANG": "C.UTF-8",
            "HOME": self.home,
            "TMPDIR": os.path.join(self.root, "tmp"),
            "XDG_CONFIG_HOME": self.config_home,
            "XDG_DATA_HOME": self.data_home,
            "XDG_CACHE_HOME": self.cache_home,
            "XDG_RUNTIME_DIR": self.runtime_dir,
            "XAUTHORITY": os.path.join(self.root, "Xauthority"),
            # A bus address that cannot connect: no autolaunched dbus-daemon, and Qt's
            # tray icon falls back to the XEmbed tray that trayer hosts.
            "DBUS_SESSION_BUS_ADDRESS": "unix:path=" + os.path.join(self.runtime_dir, "no-bus"),
            "PULSE_RUNTIME_PATH": os.path.join(self.runtime_dir, "pulse"),
            "PULSE_SERVER": "unix:" + os.path.join(self.runtime_dir, "pulse", "native"),
            "PULSE_CLIENTCONFIG": os.path.join(self.root, "pulse-client.conf"),
            "NO_AT_BRIDGE": "1",
            "QT_ACCESSIBILITY": "0",
            "QT_QPA_PLATFORM": "xcb",
        })
        return env

    # -- processes -----------------------------------------------------------

    def spawn(self, name, argv, env=None, pass_fds=(), cwd=None,
              death_signal=signal.SIGKILL):
        """Starts a tracked process; its output goes to logs/<name>.log."""
        log = os.path.join(self.logs_dir, "%s.log" % name)
        suffix = 1
        while os.path.exists(log):
            suffix += 1
            log = os.path.join(self.logs_dir, "%s-%d.log" % (name, suffix))
        process = ManagedProcess(name, argv, env if env is not None else self.env, log,
                                 pass_fds=pass_fds, cwd=cwd or self.home,
                                 death_signal=death_signal)
        self.processes.append(process)
        return process

    def _start_xvfb(self):
        width, height = self.screen
        read_end, write_end = os.pipe()
        try:
            server = self.spawn("Xvfb", [tool_path("Xvfb"), "-displayfd", str(write_end),
                                         "-screen", "0", "%dx%dx24" % (width, height),
                                         "-nolisten", "tcp", "-noreset", "-dpi", "96"],
                                # TERM lets the server remove its lock file.
                                pass_fds=(write_end,), death_signal=signal.SIGTERM)
        finally:
            os.close(write_end)
        number = b""
        deadline = time.monotonic() + 20
        try:
            while not number.endswith(b"\n") and time.monotonic() < deadline:
                ready, _, _ = select.select([read_end], [], [], 0.2)
                if ready:
                    chunk = os.read(read_end, 32)
                    if not chunk:
                        break
                    number += chunk
        finally:
            os.close(read_end)
        if not number.strip().isdigit():
            raise RuntimeError("Xvfb did not report a display:\n" + server.log_text())
        self.display = ":" + number.decode().strip()
        self.env["DISPLAY"] = self.display

    def _start_openbox(self):
        self.spawn("openbox", [tool_path("openbox"), "--sm-disable", "--config-file",
                               os.path.join(self.root, "openbox-rc.xml")])
        wait_until(lambda: selection_owner(self.display, "WM_S0"), 20,
                   "openbox to manage the screen")

    def _start_trayer(self):
        self.spawn("trayer", [tool_path("trayer"), "--edge", "top", "--align", "right",
                              "--widthtype", "request", "--height", "24",
                              "--SetDockType", "true", "--SetPartialStrut", "false",
                              "--transparent", "false"])
        wait_until(lambda: selection_owner(self.display, "_NET_SYSTEM_TRAY_S0"), 20,
                   "trayer to own the system tray")

    def _start_pulseaudio(self):
        socket_path = os.path.join(self.runtime_dir, "pulse", "native")
        self.spawn("pulseaudio", [tool_path("pulseaudio"), "-n", "--daemonize=no",
                                  "--exit-idle-time=-1", "--use-pid-file=no",
                                  "--log-target=stderr",
                                  "-L", "module-null-sink sink_name=%s" % NULL_SINK,
                                  "-L", "module-native-protocol-unix socket=%s auth-anonymous=1"
                                  % socket_path])
        wait_until(lambda: os.path.exists(socket_path), 20, "the PulseAudio socket")
        subprocess.run([tool_path("pactl"), "set-default-sink", NULL_SINK], env=self.env,
                       check=True, capture_output=True, timeout=20)

    def start(self):
        self._make_folders()
        self.env = self._base_env()
        try:
            self._start_xvfb()
            self._start_openbox()
            if self.tray:
                self._start_trayer()
            if self.audio:
                self._start_pulseaudio()
        except BaseException:
            self.close()
            raise

    def close(self, keep_folder=False):
        """Ends every process of the session (newest first) and removes the folder."""
        for process in reversed(self.processes):
            process.stop()
        self.processes = []
        self.leftovers = kill_session_processes(self.token)
        if self.root and not keep_folder:
            shutil.rmtree(self.root, ignore_errors=True)
