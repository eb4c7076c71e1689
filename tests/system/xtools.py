"""Reading and driving a private X display with python-xlib and the standard X utilities, run
by absolute path with the session's environment so nothing here can reach the user's own display."""

import collections
import contextlib
import os
import shutil
import subprocess
from dataclasses import dataclass, field

import numpy
from PIL import Image
from Xlib import X, XK, display as xdisplay
from Xlib.error import XError
from Xlib.ext import xtest
from Xlib.protocol import event as xevent

from procs import retried, wait_until


XK.load_keysym_group("xkb")
_KEYSYM_NAMES = {value: name[3:] for name, value in vars(XK).items() if name.startswith("XK_")}
_MODIFIERS = ("shift", "lock", "control", "mod1", "mod2", "mod3", "mod4", "mod5")


def tool_path(name):
    path = shutil.which(name, path="/usr/bin:/bin:/usr/local/bin")
    if path is None:
        raise FileNotFoundError("%s is not installed (scripts/setup.sh installs it)" % name)
    return path


Window = collections.namedtuple("Window", "id name pid wm_class")
Rect = collections.namedtuple("Rect", "x y width height")


@dataclass
class Keymap:
    """The keyboard and modifier mappings: keycode -> keysym names, modifier -> keycodes."""
    keysyms: dict = field(default_factory=dict)
    modifiers: dict = field(default_factory=dict)

    def first_keysym(self, keycode):
        return (self.keysyms.get(keycode) or ("NoSymbol",))[0]

    def differences(self, other):
        """What differs from `other`, one line each (empty when equal)."""
        return ["%s: %s != %s" % (key, mine.get(key), theirs.get(key))
                for mine, theirs in ((self.keysyms, other.keysyms), (self.modifiers, other.modifiers))
                for key in sorted(set(mine) | set(theirs), key=str) if mine.get(key) != theirs.get(key)]


# The root window paints this pattern: every pixel tells its own position, so any offset or
# scaling shows in a capture.
def pattern_rgb(x, y):
    return (x & 255, y & 255, (((x >> 8) << 4) | (y >> 8)) & 255)


def pattern_image(width, height):
    # Broadcast rows and columns: a full grid of 64-bit indices costs most of a second at 4K.
    x, y = numpy.arange(width, dtype=numpy.uint16), numpy.arange(height, dtype=numpy.uint16)[:, None]
    rgb = numpy.empty((height, width, 3), numpy.uint8)
    rgb[..., 0], rgb[..., 1], rgb[..., 2] = x & 255, y & 255, ((x >> 8) << 4 | y >> 8) & 255
    return Image.fromarray(rgb)


def find_pattern(image, x0, y0):
    """Where the pattern's pixel (x0, y0) shows in `image`, with its right and lower
    neighbours next to it; None if it does not."""
    r, g, b = numpy.asarray(image, dtype=int).transpose(2, 0, 1)
    x, y = (b >> 4) << 8 | r, (b & 15) << 8 | g      # the position each pixel tells
    hits = numpy.argwhere((x[:-1, :-1] == x0) & (y[:-1, :-1] == y0) & (x[:-1, 1:] == x0 + 1) & (y[:-1, 1:] == y0)
                          & (x[1:, :-1] == x0) & (y[1:, :-1] == y0 + 1))
    return (int(hits[0][1]), int(hits[0][0])) if len(hits) else None


class Display:
    """Queries and input on one X display; `env` carries DISPLAY and friends."""

    def __init__(self, env):
        self.env = dict(env)
        self.conn = xdisplay.Display(env["DISPLAY"])
        self.root = self.conn.screen().root

    def close(self):
        with contextlib.suppress(Exception):   # the server may be gone already
            self.conn.close()

    def run(self, argv, timeout=20, check=True):
        argv = [argv[0] if os.path.isabs(argv[0]) else tool_path(argv[0])] + list(argv[1:])
        result = subprocess.run(argv, env=self.env, capture_output=True, timeout=timeout)
        if check and result.returncode != 0:
            raise RuntimeError("%s exited %d: %s" % (" ".join(argv), result.returncode,
                                                     result.stderr.decode(errors="replace")))
        return result

    # -- windows -------------------------------------------------------------

    def _property(self, wid, name):
        prop = self.conn.create_resource_object("window", wid).get_full_property(
            self.conn.intern_atom(name), X.AnyPropertyType)
        return prop.value if prop else None

    def selection_owner(self, selection):
        """The X window owning a selection, 0 if none."""
        return self.conn.get_selection_owner(self.conn.intern_atom(selection))

    def managed_window_ids(self):
        """Windows the window manager manages, oldest first."""
        return list(self._property(self.root.id, "_NET_CLIENT_LIST") or ())

    def window(self, wid):
        """Name, pid and class of a window, or None if it is gone."""
        try:
            name = self._property(wid, "_NET_WM_NAME") or self._property(wid, "WM_NAME") or b""
            pid = self._property(wid, "_NET_WM_PID")
            wm_class = self._property(wid, "WM_CLASS") or b""
        except XError:
            return None
        return Window(wid, name.decode("utf-8", "replace"), pid[0] if pid else None,
                      tuple(wm_class.decode().split("\0")[:2]))

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
        """Alt+F4 on a window until it is unmapped."""
        retried(lambda: wid in self.managed_window_ids() and (self.activate(wid), self.key("alt+F4")),
                lambda seconds: self.wait_window_gone(wid, seconds), timeout)

    def geometry(self, wid):
        """Client area in root coordinates (device pixels), frame excluded."""
        window = self.conn.create_resource_object("window", wid)
        origin, size = self.root.translate_coords(window, 0, 0), window.get_geometry()
        return Rect(origin.x, origin.y, size.width, size.height)

    def visible_windows(self, pid):
        """(id, geometry) of the viewable windows that process `pid` owns."""
        out = self.run(["xdotool", "search", "--onlyvisible", "--pid", str(pid), ""], check=False).stdout
        # xdotool also lists the root and the window manager's frames.
        return [(w.id, self.geometry(w.id)) for w in map(self.window, map(int, out.split())) if w and w.pid == pid]

    def active_window_id(self):
        ids = self._property(self.root.id, "_NET_ACTIVE_WINDOW")
        return ids[0] if ids and ids[0] else None

    def active_pid(self):
        """The pid of the active window, as the window manager reports it, or None."""
        active = self.active_window_id()
        window = active and self.window(active)
        return window.pid if window else None

    def activate(self, wid):
        self.run(["xdotool", "windowactivate", "--sync", str(wid)])

    def settle(self, pid, timeout=10):
        """Returns once process `pid` has handled every X event queued before now, and the
        window manager every window it asked to map until then. The app answers a
        _NET_WM_PING only after the events ahead of it, and its map requests reach the server
        before that answer; the manager takes map requests in order, so once it lists a
        window mapped after the answer, it has handled the app's too."""
        windows = [int(w) for w in self.run(["xdotool", "search", "--pid", str(pid)], check=False).stdout.split()]
        with contextlib.closing(xdisplay.Display(self.env["DISPLAY"])) as conn:   # its own event queue
            conn.set_error_handler(lambda *_: None)   # a closed window may be gone by now
            root, token = conn.screen().root, 0x5E771E
            protocols, ping = conn.intern_atom("WM_PROTOCOLS"), conn.intern_atom("_NET_WM_PING")
            root.change_attributes(event_mask=X.StructureNotifyMask)   # where the answer goes
            for wid in windows:
                window = conn.create_resource_object("window", wid)
                window.send_event(xevent.ClientMessage(window=window, client_type=protocols,
                                                       data=(32, [ping, token, wid, 0, 0])))
            conn.sync()
            wait_until(lambda: any(e.type == X.ClientMessage and (e.client_type, *e.data[1][:2]) == (
                protocols, ping, token) for e in [conn.next_event() for _ in range(conn.pending_events())]),
                       timeout, "process %d to answer a ping" % pid)
            marker = root.create_window(0, 0, 8, 8, 0, X.CopyFromParent)
            marker.map()
            conn.sync()
            wait_until(lambda: marker.id in self.managed_window_ids(), timeout,
                       "the window manager to take a window mapped after the ping")

    # -- pointer and keys ----------------------------------------------------

    def move_pointer(self, rx, ry):
        # "mousemove --sync" waits for motion, so it stalls when already there.
        pointer = self.root.query_pointer()
        if (pointer.root_x, pointer.root_y) != (rx, ry):
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

    def _fake_keys(self, kind, keycodes):
        for code in keycodes:
            xtest.fake_input(self.conn, kind, code)
        self.conn.sync()

    @contextlib.contextmanager
    def holding(self, keycodes):
        """Holds physical keys by X keycode (the server auto-repeats); unlike xdotool, this
        ignores the current keymap, which the app rewrites."""
        self._fake_keys(X.KeyPress, keycodes)
        try:
            yield
        finally:
            self._fake_keys(X.KeyRelease, reversed(keycodes))

    def press_keycodes(self, *chords):
        """Taps key chords by X keycode, e.g. (133, 23) holds 133 and taps 23."""
        for chord in chords:
            with self.holding(chord):
                pass

    def key(self, *keysyms):
        """Keys by keysym through the current keymap."""
        self.run(["xdotool", "key"] + list(keysyms))

    def type_text(self, text, delay_ms=30):
        self.run(["xdotool", "type", "--delay", str(delay_ms), text])

    # -- keymap, clipboard and screen ----------------------------------------

    def keymap(self):
        first = self.conn.display.info.min_keycode
        rows = self.conn.get_keyboard_mapping(first, self.conn.display.info.max_keycode - first + 1)
        return Keymap({first + i: tuple(_KEYSYM_NAMES.get(s, hex(s)) if s else "NoSymbol" for s in row)
                       for i, row in enumerate(rows)},
                      {name: frozenset(c for c in codes if c)
                       for name, codes in zip(_MODIFIERS, self.conn.get_modifier_mapping())})

    def wait_keymap(self, predicate, timeout, what):
        """Polls the keymap until predicate(keymap) holds; returns that keymap."""
        return wait_until(lambda: (lambda k: predicate(k) and k)(self.keymap()), timeout, what)

    def clipboard(self, target):
        return self.run(["xclip", "-selection", "clipboard", "-t", target, "-o"], timeout=10).stdout

    def wait_clipboard(self, target):
        wait_until(lambda: target in self.clipboard("TARGETS").decode(errors="replace").split(), 10,
                   "%s on the clipboard" % target)
        return self.clipboard(target)

    def screenshot(self, path, wid=None):
        """Saves the root window (or one window) as an 8-bit RGB PNG and returns it decoded."""
        self.run(["import", "-window", "root" if wid is None else str(wid), "png24:" + path], timeout=30)
        return read_png(path)

    def paint_pattern(self, width, height, scratch_path):
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
