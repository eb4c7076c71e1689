"""What the system tests know about the app: window titles, control positions, colours and
the keymap that Windows Mode produces, plus a driver that uses them as a user would."""

import contextlib
import os
import re
import signal
from pathlib import Path
import sqlite3

from procs import retried, wait_until
from xtools import Keymap, find_pattern

MAIN_TITLE_PREFIX = "Vistrel "
MAPPING_TITLE = "Vistrel · Ánh xạ phím"
EDITOR_TITLE = "Chỉnh sửa ảnh — Vistrel"
MAPPING_BUTTON = (964, 49)              # "⌨  Ánh xạ phím" on the main window
PILL_CENTRE = (617, 52)                 # bridge toggle on the key-mapping window
PILL_BACKGROUND = (566, 52)             # plain pill background, clear of the text
PILL_COLOURS = {"active": (19, 21, 19), "paused": (214, 214, 214)}
SCREENSHOT_NAME = re.compile(r"^Screenshot_\d{4}-\d\d-\d\d_\d\d-\d\d-\d\d(_\d+)?\.png$")

# Physical X keycodes (evdev) of the keys the tests press.
KEY_CONTROL_L, KEY_CONTROL_R = 37, 105
KEY_SUPER_L, KEY_SUPER_R = 133, 134
KEY_SHIFT_L, KEY_TAB, KEY_Q, KEY_CAPS_LOCK = 50, 23, 24, 66

# Windows Mode: keycode -> (keysym it carries, modifier it belongs to, modifier it must leave).
SWAP = {
    KEY_CONTROL_L: ("Super_L", "mod4", "control"),
    KEY_CONTROL_R: ("Super_R", "mod4", "control"),
    KEY_SUPER_L: ("Control_L", "control", "mod4"),
    KEY_SUPER_R: ("Control_R", "control", "mod4"),
}


COMMAND_TAB = (KEY_SUPER_L, KEY_TAB)                  # physical Command = Super
COMMAND_SHIFT_TAB = (KEY_SUPER_L, KEY_SHIFT_L, KEY_TAB)
COMMAND_Q = (KEY_SUPER_L, KEY_Q)
CONTROL_TAB = (KEY_CONTROL_L, KEY_TAB)
COMMAND_4, COMMAND_5, COMMAND_6 = ((KEY_SUPER_L, k) for k in (13, 14, 15))


def swap_problems(keymap):
    """Why `keymap` does not show the Command/Control swap (empty when it does)."""
    return ["keycode %d is %s in %s, not %s in %s alone" % (
                code, keymap.first_keysym(code), sorted(n for n, codes in keymap.modifiers.items() if code in codes),
                keysym, modifier)
            for code, (keysym, modifier, former) in sorted(SWAP.items())
            if keymap.first_keysym(code) != keysym or code not in keymap.modifiers[modifier]
            or code in keymap.modifiers[former]]


def swap_only_problems(before, after):
    """Why `after` is not exactly `before` plus the swap (empty when it is)."""
    expected = Keymap(dict(before.keysyms), {name: set(codes) - set(SWAP) for name, codes in before.modifiers.items()})
    for code, (_, modifier, _) in SWAP.items():
        expected.keysyms[code] = after.keysyms.get(code)     # swap_problems checks these
        expected.modifiers[modifier].add(code)
    return swap_problems(after) + after.differences(expected)


def near(rgb, target, tolerance=3):
    return all(abs(a - b) <= tolerance for a, b in zip(rgb, target))


def read(path):
    return Path(path).read_bytes()


def start(session):
    """The session, its display and a not yet launched app on it."""
    return session, session.x, VistrelApp(session)


class VistrelApp:
    """Drives one session's copy of the app as a user would."""

    def __init__(self, session, pid=None):
        """pid: a copy started by someone else, such as the command line."""
        self.session, self.x = session, session.x
        self.process, self._pid = None, pid
        self.support_dir = os.path.join(session.data_home, "Vistrel")
        self.mappings_file = os.path.join(self.support_dir, "key-mappings.json")
        self.history_db = os.path.join(self.support_dir, "history.db")

    @property
    def pid(self):
        return self.process.pid if self.process else self._pid

    def launch(self, args=(), extra_env=None):
        self.process = self.session.launch("vistrel", args, extra_env)
        return self.process

    def main_window(self, timeout=30):
        # A failure's diagnostics show whether the app died first, with its output.
        return self.x.wait_for_window(prefix=MAIN_TITLE_PREFIX, pid=self.pid, timeout=timeout)

    def full_screen_windows(self):
        """The app's viewable windows that cover the whole screen: its region selectors."""
        return [wid for wid, g in self.x.visible_windows(self.pid)
                if (g.x, g.y, g.width, g.height) == (0, 0) + tuple(self.session.screen)]

    def selector(self):
        """The region selector's window once it is on screen, else None."""
        return (self.full_screen_windows() or [None])[0]

    def open_selector(self, keys=COMMAND_4):
        self.x.press_keycodes(keys)
        return wait_until(self.selector, 20, "the region selector to cover the screen")

    def desktop_pngs(self):
        return sorted(n for n in os.listdir(self.session.desktop_dir) if n.endswith(".png"))

    def capture(self, x, y, w, h):
        """Command+4 and a drag over a region (root pixels); the new PNG's path and its editor."""
        editors = self.x.windows(name=EDITOR_TITLE, pid=self.pid)
        before = self.desktop_pngs()
        self.open_selector()
        self.x.drag_line(x, y, x + w, y + h)
        names = wait_until(lambda: [n for n in self.desktop_pngs() if n not in before], 20, "a new PNG")
        editor = wait_until(lambda: [e for e in self.x.windows(name=EDITOR_TITLE, pid=self.pid)
                                     if e not in editors], 20, "the editor of %s" % names[0])[0]
        return os.path.join(self.session.desktop_dir, names[0]), editor

    def canvas_origin(self, editor, x0, y0):
        """Root position of a capture's first pixel, the pattern's (x0, y0), once the editor shows it."""
        def located():
            found = find_pattern(self.x.screenshot(self.session.scratch("editor.png"), editor.id), x0, y0)
            frame = self.x.geometry(editor.id)
            return found and (frame.x + found[0], frame.y + found[1])
        return wait_until(located, 20, "the capture on the editor's canvas")

    def wait_pill(self, window, state, timeout=20):
        """Waits for the bridge pill's background to show `state`, "active" or "paused"."""
        def sampled():
            return self.x.screenshot(self.session.scratch("pill.png"), window.id).getpixel(
                tuple(int(round(v * self.session.scale)) for v in PILL_BACKGROUND))
        wait_until(lambda: near(sampled(), PILL_COLOURS[state], 8), timeout, "the bridge pill to read %s" % state)

    def wait_ready(self):
        """Main window up, key-mapping window open and the bridge ACTIVE: the pill turns active only
        once the hot keys are registered for the swapped keymap, so chords pressed now reach the app."""
        main = self.main_window()
        # Clicked again until it comes: openbox drops a click while it re-reads the keymap.
        mapping = retried(lambda: self.x.click(main.id, *MAPPING_BUTTON, scale=self.session.scale),
                          lambda seconds: self.x.wait_for_window(name=MAPPING_TITLE, pid=self.pid, timeout=seconds), 30)
        self.wait_pill(mapping, "active")
        return main, mapping

    def ready_with_main_only(self, extra_env=None):
        """Launched and ready, with the key-mapping window closed again: only the main
        window steps aside for a capture, so the other would stay in the picture."""
        self.launch(extra_env=extra_env)
        main, mapping = self.wait_ready()
        self.x.close_window(mapping.id)
        return main

    def main_shown(self, main):
        # By title, not id: showing a closed window again makes a new X window.
        return bool(self.x.windows(name=main.name, pid=self.pid))

    def history(self):
        """The history's rows as {type, path}, oldest first; none before the first save."""
        if not os.path.exists(self.history_db):
            return []
        with contextlib.closing(sqlite3.connect("file:%s?mode=ro" % self.history_db, uri=True, timeout=20)) as db:
            return [{"type": t, "path": p} for t, p in db.execute("SELECT type, path FROM captures")]

    def wait_swapped(self, timeout=20):
        return self.x.wait_keymap(lambda k: not swap_problems(k), timeout, "the Command/Control swap")

    def terminate(self, timeout=20):
        """SIGTERM to the app alone (as a session ending would); returns the exit status."""
        self.process.send_signal(signal.SIGTERM)
        return self.process.wait(timeout)

    def quit_by_hot_key(self, timeout=20):
        """Physical Command+Q; returns the exit status."""
        self.x.press_keycodes(COMMAND_Q)
        return self.process.wait(timeout)
