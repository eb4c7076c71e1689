"""Reading and driving a private X display with the standard X utilities.

All programs run by absolute path, with the session's environment, so
nothing here can reach the user's own display.
"""

import contextlib
import os
import re
import shutil
import sqlite3
import subprocess
from dataclasses import dataclass, field

from PIL import Image

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

    def __str__(self):
        return "0x%x %r pid %s" % (self.id, self.name, self.pid)


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
        syms = self.keysyms.get(keycode, ())
        return syms[0] if syms else "NoSymbol"

    def differences(self, other):
        """Human-readable list of what differs from `other` (empty when equal)."""
        lines = []
        for code in sorted(set(self.keysyms) | set(other.keysyms)):
            mine, theirs = self.keysyms.get(code, ()), other.keysyms.get(code, ())
            if mine != theirs:
                lines.append("keycode %d: %s != %s" % (code, " ".join(mine) or "-",
                                                        " ".join(theirs) or "-"))
        for name in sorted(set(self.modifiers) | set(other.modifiers)):
            mine, theirs = self.modifiers.get(name, set()), other.modifiers.get(name, set())
            if mine != theirs:
                lines.append("%s: %s != %s" % (name, sorted(mine), sorted(theirs)))
        return lines


def parse_keymap(pke_text, pm_text):
    keymap = Keymap()
    for line in pke_text.splitlines():
        match = re.match(r"\s*keycode\s+(\d+)\s*=(.*)$", line)
        if match:
            keymap.keysyms[int(match.group(1))] = tuple(match.group(2).split())
    for line in pm_text.splitlines():
        match = re.match(r"(shift|lock|control|mod[1-5])\b(.*)$", line)
        if match:
            codes = re.findall(r"\((0x[0-9a-fA-F]+)\)", match.group(2))
            keymap.modifiers[match.group(1)] = frozenset(int(c, 16) for c in codes)
    return keymap


def _unescape_xprop(text):
    """Decodes a quoted xprop string printed in the C locale (octal escapes)."""
    out = bytearray()
    i = 0
    while i < len(text):
        ch = text[i]
        if ch == "\\" and i + 1 < len(text):
            octal = re.match(r"[0-7]{3}", text[i + 1:i + 4])
            if octal:
                out.append(int(octal.group(0), 8))
                i += 4
                continue
            out += text[i + 1].encode()
            i += 2
            continue
        out += ch.encode()
        i += 1
    return out.decode("utf-8", "replace")


class Display:
    """Queries and input on one X display; `env` carries DISPLAY and friends."""

    def __init__(self, env, keys_helper=None):
        self.env = dict(env)
        self.keys_helper = keys_helper

    def run(self, argv, timeout=20, check=True, stdin=None, locale=None):
        argv = [tool_path(argv[0]) if not os.path.isabs(argv[0]) else argv[0]] + list(argv[1:])
        env = dict(self.env, LC_ALL=locale) if locale else self.env
        result = subprocess.run(argv, env=env, input=stdin, capture_output=True,
                                timeout=timeout)
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
        """Windows the window manager manages, oldest first (_NET_CLIENT_LIST)."""
        return self._root_ids("_NET_CLIENT_LIST")

    def window(self, wid):
        """Name, pid and class of a window, or None if it is gone."""
        result = self.run(["xprop", "-id", str(wid), "-notype",
                           "_NET_WM_NAME", "WM_NAME", "_NET_WM_PID", "WM_CLASS"],
                          check=False, locale="C")   # C locale: names come octal-escaped
        if result.returncode != 0:
            return None
        props = {}
        for line in result.stdout.decode("ascii", "replace").splitlines():
            key, sep, value = line.partition(" = ")
            if sep:
                props[key.strip()] = value.strip()
        raw_name = props.get("_NET_WM_NAME") or props.get("WM_NAME") or '""'
        name = _unescape_xprop(raw_name[1:-1]) if raw_name.startswith('"') else raw_name
        pid = int(props["_NET_WM_PID"]) if props.get("_NET_WM_PID", "").isdigit() else None
        wm_class = tuple(_unescape_xprop(s) for s in re.findall(r'"((?:[^"\\]|\\.)*)"',
                                                                  props.get("WM_CLASS", "")))
        return Window(wid, name, pid, wm_class)

    def windows(self, name=None, prefix=None, pid=None):
        """Managed (mapped) windows, filtered by exact name, name prefix and pid."""
        found = []
        for wid in self.managed_window_ids():
            info = self.window(wid)
            if info is None:
                continue
            if name is not None and info.name != name:
                continue
            if prefix is not None and not info.name.startswith(prefix):
                continue
            if pid is not None and info.pid != pid:
                continue
            found.append(info)
        return found

    def wait_for_window(self, name=None, prefix=None, pid=None, timeout=30):
        what = "window %s" % (repr(name) if name is not None else "starting %r" % prefix)
        found = wait_until(lambda: self.windows(name=name, prefix=prefix, pid=pid),
                           timeout, what)
        return found[0]

    def wait_window_gone(self, wid, timeout=10):
        wait_until(lambda: wid not in self.managed_window_ids(), timeout,
                   "window 0x%x to be unmapped" % wid)

    def close_window(self, wid, timeout=10):
        """The window manager's close (Alt+F4) on a window, until it is unmapped. Openbox
        drops a chord that lands while it re-reads a keymap the bridge just changed, so
        the press is repeated while the window is still there."""
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
        values = {}
        for key in ("Absolute upper-left X", "Absolute upper-left Y", "Width", "Height"):
            match = re.search(r"%s:\s+(-?\d+)" % re.escape(key), out)
            if not match:
                raise RuntimeError("xwininfo gave no %s for 0x%x" % (key, wid))
            values[key] = int(match.group(1))
        return Rect(values["Absolute upper-left X"], values["Absolute upper-left Y"],
                    values["Width"], values["Height"])

    def active_window_id(self):
        ids = self._root_ids("_NET_ACTIVE_WINDOW")
        return ids[0] if ids and ids[0] else None

    def active_pid(self):
        """The pid of the active window, as the window manager reports it, or None."""
        result = self.run(["xdotool", "getactivewindow", "getwindowpid"], check=False)
        out = result.stdout.decode().strip()
        return int(out) if result.returncode == 0 and out.isdigit() else None

    def activate(self, wid):
        self.run(["xdotool", "windowactivate", "--sync", str(wid)])

    # -- pointer and keys ----------------------------------------------------

    def to_root(self, wid, x, y, scale=1.0):
        """Root position of a client point given in logical pixels (points)."""
        rect = self.geometry(wid)
        return rect.x + int(round(x * scale)), rect.y + int(round(y * scale))

    def pointer(self):
        out = self.text(["xdotool", "getmouselocation", "--shell"])
        values = dict(line.split("=", 1) for line in out.split() if "=" in line)
        return int(values["X"]), int(values["Y"])

    def move_pointer(self, rx, ry):
        # "mousemove --sync" waits for motion, so it stalls when already there.
        if self.pointer() != (rx, ry):
            self.run(["xdotool", "mousemove", "--sync", str(rx), str(ry)])

    def click(self, wid, x, y, scale=1.0, button=1):
        """Clicks a client point of a window, given in points."""
        self.move_pointer(*self.to_root(wid, x, y, scale))
        self.run(["xdotool", "click", str(button)])

    def drag(self, *points, release=True):
        """Presses button 1 at the first root point, moves through the rest, and releases."""
        steps = ["mousemove", str(points[0][0]), str(points[0][1]), "mousedown", "1"]
        for px, py in points[1:]:
            steps += ["mousemove", str(px), str(py)]
        self.run(["xdotool"] + steps + (["mouseup", "1"] if release else []))

    def drag_line(self, x0, y0, x1, y1, release=True):
        """A drag in three even steps, as a hand moves."""
        self.drag(*[(x0 + (x1 - x0) * i // 3, y0 + (y1 - y0) * i // 3) for i in range(4)],
                  release=release)

    def press_keycodes(self, *chords):
        """Physical key chords by X keycode, e.g. "133+23" holds 133 and taps 23.

        Unlike xdotool, this ignores the current keymap, which the app rewrites.
        """
        if self.keys_helper is None or not os.path.exists(self.keys_helper):
            raise ToolMissing("vistrel-test-keys is not built (%s)" % self.keys_helper)
        self.run([self.keys_helper] + [str(c) for c in chords])

    def key(self, *keysyms):
        """Keys by keysym through the current keymap (xdotool key)."""
        self.run(["xdotool", "key"] + list(keysyms))

    def type_text(self, text, delay_ms=30):
        self.run(["xdotool", "type", "--delay", str(delay_ms), text])

    # -- keymap --------------------------------------------------------------

    def keymap(self):
        return parse_keymap(self.text(["xmodmap", "-pke"]), self.text(["xmodmap", "-pm"]))

    def wait_keymap(self, predicate, timeout, what):
        """Polls the keymap until predicate(keymap) holds; returns that keymap."""
        holder = {}

        def check():
            holder["keymap"] = self.keymap()
            return predicate(holder["keymap"])
        try:
            wait_until(check, timeout, what)
        except WaitTimeout as error:
            raise WaitTimeout("%s\nkeymap -pm:\n%s" % (
                error, self.text(["xmodmap", "-pm"]))) from None
        return holder["keymap"]

    # -- clipboard and screen ------------------------------------------------

    def clipboard_targets(self, selection="clipboard"):
        result = self.run(["xclip", "-selection", selection, "-t", "TARGETS", "-o"],
                          check=False, timeout=10)
        return result.stdout.decode(errors="replace").split() if result.returncode == 0 else []

    def clipboard(self, target, selection="clipboard"):
        return self.run(["xclip", "-selection", selection, "-t", target, "-o"],
                        timeout=10).stdout

    def screenshot(self, path, wid=None):
        """Saves the root window (or one window) as an 8-bit RGB PNG and decodes it."""
        self.run(["import", "-window", "root" if wid is None else str(wid), "png24:" + path],
                 timeout=30)
        return read_png(path)

    def pixel(self, wid, x, y, scale, scratch_path):
        """Colour of a client point (in points) of a window, read from the screen."""
        image = self.screenshot(scratch_path, wid)
        return image.getpixel((int(round(x * scale)), int(round(y * scale))))


def read_png(path):
    """The image at `path` as 8-bit RGB; getpixel((x, y)) gives an (r, g, b) tuple."""
    with Image.open(path) as image:
        return image.convert("RGB")


def sqlite_rows(db_path, sql):
    """Rows of a read-only query as dicts."""
    with contextlib.closing(sqlite3.connect("file:%s?mode=ro" % db_path, uri=True, timeout=20)) as db:
        db.row_factory = sqlite3.Row
        return [dict(row) for row in db.execute(sql)]
