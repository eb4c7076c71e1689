"""Reading and driving a private X display with the standard X utilities, run by absolute
path with the session's environment so nothing here can reach the user's own display."""

import codecs
import contextlib
import ctypes
import os
import re
import shutil
import sqlite3
import subprocess
from dataclasses import dataclass, field

from PIL import Image, ImageChops

from procs import WaitTimeout, wait_until


class ToolMissing(RuntimeError):
    pass


def tool_path(name):
    path = shutil.which(name, path="/usr/bin:/bin:/usr/local/bin")
    if path is None:
        raise ToolMissing("%s is not installed (scripts/setup.sh installs it)" % name)
    return path


@dataclass(frozen=True)
class Window:
    id: int
    name: str
    pid: int
    wm_class: tuple


@dataclass(frozen=True)
class Rect:
    x: int
    y: int
    width: int
    height: int


@dataclass
class Keymap:
    """`xmodmap -pke` and `xmodmap -pm`, parsed: keycode -> keysyms, modifier -> keycodes."""
    keysyms: dict = field(default_factory=dict)
    modifiers: dict = field(default_factory=dict)

    def first_keysym(self, keycode):
        return (self.keysyms.get(keycode) or ("NoSymbol",))[0]

    def differences(self, other):
        """What differs from `other`, one line each (empty when equal)."""
        lines = ["keycode %d: %s != %s" % (code, self.keysyms.get(code), other.keysyms.get(code))
                 for code in sorted(set(self.keysyms) | set(other.keysyms))
                 if self.keysyms.get(code, ()) != other.keysyms.get(code, ())]
        return lines + ["%s: %s != %s" % (name, sorted(self.modifiers.get(name, ())),
                                           sorted(other.modifiers.get(name, ())))
                        for name in sorted(set(self.modifiers) | set(other.modifiers))
                        if self.modifiers.get(name, set()) != other.modifiers.get(name, set())]


def _unescape(text):
    """A quoted xprop string printed in the C locale (octal escapes) as text."""
    return codecs.escape_decode(text.encode("latin-1"))[0].decode("utf-8", "replace")


# The root window paints this pattern: every pixel tells its own position, so any offset or
# scaling shows in a capture.
def pattern_rgb(x, y):
    return (x & 255, y & 255, (((x >> 8) << 4) | (y >> 8)) & 255)


def pattern_image(width, height):
    def stretch(size, f):
        return Image.frombytes("L", size, bytes(f(i) & 255 for i in range(max(size)))).resize(
            (width, height), Image.NEAREST)
    return Image.merge("RGB", (stretch((width, 1), lambda x: x), stretch((1, height), lambda y: y),
                               ImageChops.add(stretch((width, 1), lambda x: (x >> 8) << 4),
                                              stretch((1, height), lambda y: y >> 8))))


def find_pattern(image, x0, y0):
    """Where the pattern's pixel (x0, y0) shows in `image`, with its right and lower
    neighbours next to it; None if it does not."""
    data, wanted = image.tobytes(), bytes(pattern_rgb(x0, y0))
    at = data.find(wanted)
    while at >= 0:
        y, x = divmod(at // 3, image.width)
        if (at % 3 == 0 and x + 1 < image.width and y + 1 < image.height
                and image.getpixel((x + 1, y)) == pattern_rgb(x0 + 1, y0)
                and image.getpixel((x, y + 1)) == pattern_rgb(x0, y0 + 1)):
            return x, y
        at = data.find(wanted, at + 1)
    return None


def _xlib():
    xlib = ctypes.CDLL("libX11.so.6")
    d, ul, i = ctypes.c_void_p, ctypes.c_ulong, ctypes.c_int
    for name, restype, argtypes in (
            ("XOpenDisplay", d, [ctypes.c_char_p]), ("XCloseDisplay", i, [d]),
            ("XInternAtom", ul, [d, ctypes.c_char_p, i]), ("XGetSelectionOwner", ul, [d, ul]),
            ("XDefaultRootWindow", ul, [d]), ("XSelectInput", i, [d, ul, ctypes.c_long]),
            ("XSendEvent", i, [d, ul, i, ctypes.c_long, d]), ("XPending", i, [d]),
            ("XNextEvent", i, [d, d]), ("XSync", i, [d, i]), ("XMapWindow", i, [d, ul]),
            ("XCreateSimpleWindow", ul, [d, ul, i, i, ctypes.c_uint, ctypes.c_uint, ctypes.c_uint, ul, ul]),
            ("XSetErrorHandler", d, [d])):
        getattr(xlib, name).restype, getattr(xlib, name).argtypes = restype, argtypes
    return xlib


@contextlib.contextmanager
def _connection(display):
    xlib = _xlib()
    handle = xlib.XOpenDisplay(display.encode())
    if not handle:
        raise RuntimeError("cannot open display %s" % display)
    try:
        yield xlib, handle
    finally:
        xlib.XCloseDisplay(handle)


def selection_owner(display, selection):
    """The X window owning a selection, 0 if none."""
    with _connection(display) as (xlib, handle):
        return xlib.XGetSelectionOwner(handle, xlib.XInternAtom(handle, selection.encode(), 0))


class _ClientMessage(ctypes.Structure):
    _fields_ = [("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("send_event", ctypes.c_int),
                ("display", ctypes.c_void_p), ("window", ctypes.c_ulong),
                ("message_type", ctypes.c_ulong), ("format", ctypes.c_int), ("data", ctypes.c_long * 5),
                ("pad", ctypes.c_long * 12)]


_ERROR_HANDLER = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.c_void_p)


class Display:
    """Queries and input on one X display; `env` carries DISPLAY and friends."""

    def __init__(self, env, keys_helper=None):
        self.env, self.keys_helper = dict(env), keys_helper

    def run(self, argv, timeout=20, check=True, locale=None):
        argv = [argv[0] if os.path.isabs(argv[0]) else tool_path(argv[0])] + list(argv[1:])
        result = subprocess.run(argv, env=dict(self.env, LC_ALL=locale) if locale else self.env,
                                capture_output=True, timeout=timeout)
        if check and result.returncode != 0:
            raise RuntimeError("%s exited %d: %s" % (" ".join(argv), result.returncode,
                                                     result.stderr.decode(errors="replace")))
        return result

    def text(self, argv, **kwargs):
        return self.run(argv, **kwargs).stdout.decode("utf-8", "replace")

    # -- windows -------------------------------------------------------------

    def _root_ids(self, atom):
        out = self.text(["xprop", "-root", "-notype", atom])
        return [int(h, 16) for h in re.findall(r"0x[0-9a-fA-F]+", out.partition("#")[2])]

    def managed_window_ids(self):
        """Windows the window manager manages, oldest first."""
        return self._root_ids("_NET_CLIENT_LIST")

    def window(self, wid):
        """Name, pid and class of a window, or None if it is gone."""
        result = self.run(["xprop", "-id", str(wid), "-notype", "_NET_WM_NAME", "WM_NAME", "_NET_WM_PID",
                           "WM_CLASS"], check=False, locale="C")   # C locale: names come octal-escaped
        if result.returncode != 0:
            return None
        props = {key.strip(): value.strip() for key, sep, value in
                 (line.partition(" = ") for line in result.stdout.decode("ascii", "replace").splitlines()) if sep}
        name = props.get("_NET_WM_NAME") or props.get("WM_NAME") or '""'
        pid = props.get("_NET_WM_PID", "")
        return Window(wid, _unescape(name[1:-1]) if name.startswith('"') else name,
                      int(pid) if pid.isdigit() else None,
                      tuple(_unescape(s) for s in re.findall(r'"((?:[^"\\]|\\.)*)"', props.get("WM_CLASS", ""))))

    def windows(self, name=None, prefix=None, pid=None):
        """Managed (mapped) windows, filtered by exact name, name prefix and pid."""
        return [w for w in map(self.window, self.managed_window_ids())
                if w is not None and name in (None, w.name) and pid in (None, w.pid)
                and w.name.startswith(prefix or "")]

    def wait_for_window(self, name=None, prefix=None, pid=None, timeout=30):
        return wait_until(lambda: self.windows(name=name, prefix=prefix, pid=pid), timeout,
                          "window %r" % (name or prefix + "..."))[0]

    def wait_window_gone(self, wid, timeout=10):
        wait_until(lambda: wid not in self.managed_window_ids(), timeout, "window 0x%x to be unmapped" % wid)

    def close_window(self, wid, timeout=10):
        """Alt+F4 on a window until it is unmapped. Openbox drops a chord that lands while it
        re-reads a keymap the bridge just changed, so the press is repeated."""
        for attempt in range(3):
            if wid not in self.managed_window_ids():
                return
            self.activate(wid)
            self.key("alt+F4")
            try:
                return self.wait_window_gone(wid, timeout / 2 if attempt < 2 else timeout)
            except WaitTimeout:
                if attempt == 2:
                    raise

    def geometry(self, wid):
        """Client area in root coordinates (device pixels), frame excluded."""
        out = self.text(["xwininfo", "-id", str(wid)])
        values = [re.search(r"%s:\s+(-?\d+)" % key, out)
                  for key in ("Absolute upper-left X", "Absolute upper-left Y", "Width", "Height")]
        if not all(values):
            raise RuntimeError("xwininfo gave no geometry for 0x%x" % wid)
        return Rect(*(int(v.group(1)) for v in values))

    def visible_windows(self, pid):
        """(id, geometry) of the viewable windows that process `pid` owns."""
        out = self.run(["xdotool", "search", "--onlyvisible", "--pid", str(pid), ""], check=False).stdout
        found = []
        for wid in map(int, out.split()):
            try:
                # xdotool also lists the root and the window manager's frames.
                if self.window(wid).pid == pid:
                    found.append((wid, self.geometry(wid)))
            except (RuntimeError, AttributeError):
                continue   # closed while we looked
        return found

    def active_window_id(self):
        ids = self._root_ids("_NET_ACTIVE_WINDOW")
        return ids[0] if ids and ids[0] else None

    def active_pid(self):
        """The pid of the active window, as the window manager reports it, or None."""
        out = self.run(["xdotool", "getactivewindow", "getwindowpid"], check=False).stdout.decode().strip()
        return int(out) if out.isdigit() else None

    def activate(self, wid):
        self.run(["xdotool", "windowactivate", "--sync", str(wid)])

    def settle(self, pid, timeout=10):
        """Returns once process `pid` has handled every X event queued before now, and the
        window manager every window it asked to map until then. The app answers a
        _NET_WM_PING only after the events ahead of it, and its map requests reach the server
        before that answer; the manager takes map requests in order, so once it lists a
        window mapped after the answer, it has handled the app's too."""
        windows = [int(w) for w in self.run(["xdotool", "search", "--pid", str(pid)], check=False).stdout.split()]
        failed, token = [], 0x5E771E
        # A closed window may be gone by now; Xlib's default handler would end the test runner.
        handler = _ERROR_HANDLER(lambda _display, _error: failed.append(1) or 0)
        with _connection(self.env["DISPLAY"]) as (xlib, handle):
            previous = xlib.XSetErrorHandler(ctypes.cast(handler, ctypes.c_void_p))
            try:
                root = xlib.XDefaultRootWindow(handle)
                protocols, ping = (xlib.XInternAtom(handle, n, 0) for n in (b"WM_PROTOCOLS", b"_NET_WM_PING"))
                xlib.XSelectInput(handle, root, 1 << 17)   # StructureNotify: where the answer goes
                for window in windows:
                    event = _ClientMessage(33, 0, 0, None, window, protocols, 32)   # ClientMessage
                    event.data[:] = [ping, token, window, 0, 0]
                    xlib.XSendEvent(handle, window, 0, 0, ctypes.addressof(event))
                xlib.XSync(handle, 0)
                if len(failed) == len(windows):
                    raise RuntimeError("process %d has no window to ping" % pid)

                def answered():
                    while xlib.XPending(handle):
                        reply = _ClientMessage()
                        xlib.XNextEvent(handle, ctypes.addressof(reply))
                        if (reply.type, reply.message_type, reply.data[0], reply.data[1]) == (
                                33, protocols, ping, token):
                            return True
                    return False
                wait_until(answered, timeout, "process %d to answer a ping" % pid)
                marker = xlib.XCreateSimpleWindow(handle, root, 0, 0, 8, 8, 0, 0, 0)
                xlib.XMapWindow(handle, marker)
                xlib.XSync(handle, 0)
                wait_until(lambda: marker in self.managed_window_ids(), timeout,
                           "the window manager to take a window mapped after the ping")
            finally:
                xlib.XSetErrorHandler(previous)

    # -- pointer and keys ----------------------------------------------------

    def move_pointer(self, rx, ry):
        # "mousemove --sync" waits for motion, so it stalls when already there.
        out = self.text(["xdotool", "getmouselocation", "--shell"])
        if re.findall(r"[XY]=(\d+)", out) != [str(rx), str(ry)]:
            self.run(["xdotool", "mousemove", "--sync", str(rx), str(ry)])

    def click(self, wid, x, y, scale=1.0, repeat=1):
        """Clicks a client point of a window, given in points."""
        rect = self.geometry(wid)
        self.move_pointer(rect.x + int(round(x * scale)), rect.y + int(round(y * scale)))
        self.run(["xdotool", "click", "--repeat", str(repeat), "--delay", "80", "1"])

    def drag(self, *points, release=True):
        """Presses button 1 at the first root point, moves through the rest, and releases."""
        steps = ["mousedown", "1"]
        for px, py in points[1:]:
            steps += ["mousemove", str(px), str(py)]
        self.run(["xdotool", "mousemove", str(points[0][0]), str(points[0][1])] + steps
                 + (["mouseup", "1"] if release else []))

    def drag_line(self, x0, y0, x1, y1, release=True):
        """A drag in three even steps, as a hand moves."""
        self.drag(*[(x0 + (x1 - x0) * i // 3, y0 + (y1 - y0) * i // 3) for i in range(4)], release=release)

    def press_keycodes(self, *chords):
        """Physical key chords by X keycode, e.g. "133+23" holds 133 and taps 23; unlike
        xdotool, this ignores the current keymap, which the app rewrites."""
        if not os.path.exists(self.keys_helper or ""):
            raise ToolMissing("vistrel-test-keys is not built (%s)" % self.keys_helper)
        self.run([self.keys_helper] + [str(c) for c in chords])

    def key(self, *keysyms):
        """Keys by keysym through the current keymap."""
        self.run(["xdotool", "key"] + list(keysyms))

    def type_text(self, text, delay_ms=30):
        self.run(["xdotool", "type", "--delay", str(delay_ms), text])

    # -- keymap, clipboard and screen ----------------------------------------

    def keymap(self):
        keymap = Keymap()
        for match in re.finditer(r"^\s*keycode\s+(\d+)\s*=(.*)$", self.text(["xmodmap", "-pke"]), re.M):
            keymap.keysyms[int(match.group(1))] = tuple(match.group(2).split())
        for match in re.finditer(r"^(shift|lock|control|mod[1-5])\b(.*)$", self.text(["xmodmap", "-pm"]), re.M):
            keymap.modifiers[match.group(1)] = frozenset(
                int(c, 16) for c in re.findall(r"\((0x[0-9a-fA-F]+)\)", match.group(2)))
        return keymap

    def wait_keymap(self, predicate, timeout, what):
        """Polls the keymap until predicate(keymap) holds; returns that keymap."""
        try:
            return wait_until(lambda: (lambda k: predicate(k) and k)(self.keymap()), timeout, what)
        except WaitTimeout as error:
            raise WaitTimeout("%s\nkeymap -pm:\n%s" % (error, self.text(["xmodmap", "-pm"]))) from None

    def clipboard_targets(self):
        result = self.run(["xclip", "-selection", "clipboard", "-t", "TARGETS", "-o"], check=False, timeout=10)
        return result.stdout.decode(errors="replace").split() if result.returncode == 0 else []

    def clipboard(self, target):
        return self.run(["xclip", "-selection", "clipboard", "-t", target, "-o"], timeout=10).stdout

    def wait_clipboard(self, target):
        wait_until(lambda: target in self.clipboard_targets(), 10, "%s on the clipboard" % target)
        return self.clipboard(target)

    def screenshot(self, path, wid=None):
        """Saves the root window (or one window) as an 8-bit RGB PNG and returns it decoded."""
        self.run(["import", "-window", "root" if wid is None else str(wid), "png24:" + path], timeout=30)
        return read_png(path)

    def paint_pattern(self, width, height, scratch_path):
        """Makes the pattern the root window's background."""
        pattern_image(width, height).save(scratch_path)
        self.paint_root(scratch_path)

    def paint_root(self, path):
        """Makes the image at `path` the root window's background."""
        # display exits 1 even when it succeeds; it says why when it does not.
        error = self.run(["display", "-window", "root", path], check=False, timeout=60).stderr
        if error:
            raise RuntimeError("display could not paint the root window: %s" % error.decode())


def read_png(path):
    """The image at `path` as 8-bit RGB."""
    with Image.open(path) as image:
        return image.convert("RGB")


def sqlite_rows(db_path, sql):
    """Rows of a read-only query as dicts."""
    with contextlib.closing(sqlite3.connect("file:%s?mode=ro" % db_path, uri=True, timeout=20)) as db:
        db.row_factory = sqlite3.Row
        return [dict(row) for row in db.execute(sql)]
