"""What the system tests know about the app: window titles, control positions,
colours and the keymap that Windows Mode produces, plus a driver that uses them.
"""

import json
import os
import signal

from procs import WaitTimeout, wait_until
from xtools import sqlite_rows

MAIN_TITLE_PREFIX = "Vistrel "
MAPPING_TITLE = "Vistrel · Ánh xạ phím"
MAIN_SIZE = (1080, 760)                 # client size in points
MAPPING_SIZE = (720, 470)
MAPPING_BUTTON = (964, 49)              # "⌨  Ánh xạ phím" on the main window
PILL_CENTRE = (617, 52)                 # bridge toggle on the key-mapping window
PILL_BACKGROUND = (566, 52)             # plain pill background, clear of the text
PILL_ACTIVE_RGB = (19, 21, 19)
PILL_PAUSED_RGB = (214, 214, 214)       # white level 0.84

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


def chord(*keycodes):
    return "+".join(str(k) for k in keycodes)


COMMAND_TAB = chord(KEY_SUPER_L, KEY_TAB)                  # physical Command = Super
COMMAND_SHIFT_TAB = chord(KEY_SUPER_L, KEY_SHIFT_L, KEY_TAB)
COMMAND_Q = chord(KEY_SUPER_L, KEY_Q)
CONTROL_TAB = chord(KEY_CONTROL_L, KEY_TAB)


def swap_problems(keymap):
    """Why `keymap` does not show the Command/Control swap (empty when it does)."""
    problems = []
    for code, (keysym, modifier, former) in sorted(SWAP.items()):
        if keymap.first_keysym(code) != keysym:
            problems.append("keycode %d is %s, not %s" % (code, keymap.first_keysym(code), keysym))
        if code not in keymap.modifiers.get(modifier, ()):
            problems.append("keycode %d is not in %s" % (code, modifier))
        if code in keymap.modifiers.get(former, ()):
            problems.append("keycode %d is still in %s" % (code, former))
    return problems


def swap_only_problems(before, after):
    """Why `after` is not exactly `before` plus the swap (empty when it is)."""
    problems = swap_problems(after)
    for code in sorted(set(before.keysyms) | set(after.keysyms)):
        if code not in SWAP and before.keysyms.get(code) != after.keysyms.get(code):
            problems.append("keycode %d changed: %s -> %s" % (
                code, before.keysyms.get(code), after.keysyms.get(code)))
    for name in ("shift", "lock", "mod1", "mod2", "mod3", "mod5"):
        if before.modifiers.get(name) != after.modifiers.get(name):
            problems.append("%s changed: %s -> %s" % (name, sorted(before.modifiers.get(name, ())),
                                                      sorted(after.modifiers.get(name, ()))))
    expected_control = (set(before.modifiers.get("control", ())) - set(SWAP)) | {
        KEY_SUPER_L, KEY_SUPER_R}
    if set(after.modifiers.get("control", ())) != expected_control:
        problems.append("control is %s, expected %s" % (
            sorted(after.modifiers.get("control", ())), sorted(expected_control)))
    return problems


def _near(rgb, target, tolerance=8):
    return all(abs(a - b) <= tolerance for a, b in zip(rgb, target))


class VistrelApp:
    """Drives one session's copy of the app as a user would."""

    def __init__(self, session, pid=None):
        """pid: a copy started by someone else, such as the command line."""
        self.session = session
        self.x = session.x
        self.process = None
        self._pid = pid

    @property
    def pid(self):
        return self.process.pid if self.process else self._pid

    @property
    def support_dir(self):
        return os.path.join(self.session.data_home, "Vistrel")

    @property
    def mappings_file(self):
        return os.path.join(self.support_dir, "key-mappings.json")

    @property
    def history_db(self):
        return os.path.join(self.support_dir, "history.db")

    def read_mappings(self):
        with open(self.mappings_file, "rb") as f:
            return json.loads(f.read().decode("utf-8"))

    def launch(self, args=()):
        self.process = self.session.launch("vistrel", args)
        return self.process

    def main_window(self, timeout=30):
        try:
            return self.x.wait_for_window(prefix=MAIN_TITLE_PREFIX, pid=self.pid,
                                          timeout=timeout)
        except WaitTimeout:
            if not self.process.alive():
                raise AssertionError("the app exited with status %s before showing its window:\n%s"
                                     % (self.process.returncode, self.process.log_text()))
            raise

    def full_screen_windows(self):
        """The app's viewable windows that cover the whole screen: its region selectors."""
        width, height = self.session.desktop.screen
        out = self.x.run(["xdotool", "search", "--onlyvisible", "--pid", str(self.pid), ""],
                         check=False).stdout.decode()
        found = []
        for wid in (int(w) for w in out.split()):
            try:
                g = self.x.geometry(wid)
                # xdotool also lists the root and frames of the window manager's, not ours.
                owned = self.x.window(wid).pid == self.pid
            except RuntimeError:
                continue   # closed while we looked
            if owned and (g.x, g.y, g.width, g.height) == (0, 0, width, height):
                found.append(wid)
        return found

    def selector(self):
        """The region selector's window once it is on screen, else None."""
        found = self.full_screen_windows()
        return found[0] if found else None

    def open_mapping_window(self, timeout=30):
        main = self.main_window()
        self.x.click(main.id, *MAPPING_BUTTON, scale=self.session.scale)
        return self.x.wait_for_window(name=MAPPING_TITLE, pid=self.pid, timeout=timeout)

    def pill_state(self, window):
        """"active", "paused", or the sampled colour when it is neither."""
        rgb = self.x.pixel(window.id, *PILL_BACKGROUND, scale=self.session.scale,
                           scratch_path=self.session.scratch("pill.png"))
        if _near(rgb, PILL_ACTIVE_RGB):
            return "active"
        if _near(rgb, PILL_PAUSED_RGB):
            return "paused"
        return rgb

    def wait_pill(self, window, state, timeout=20):
        wait_until(lambda: self.pill_state(window) == state, timeout,
                   "the bridge pill to read %s" % state)

    def wait_ready(self):
        """Main window up, key-mapping window open and the bridge ACTIVE.

        The pill turns active only after the hot keys were re-registered for the
        swapped keymap, so key chords pressed after this reach the app.
        """
        main = self.main_window()
        mapping = self.open_mapping_window()
        self.wait_pill(mapping, "active")
        return main, mapping

    def ready_with_main_only(self):
        """Launched and ready, with the key-mapping window closed again: only the main
        window steps aside for a capture, so the other would stay in the picture."""
        self.launch()
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
        return sqlite_rows(self.history_db, "SELECT type, path FROM captures")

    def wait_swapped(self, timeout=20):
        return self.x.wait_keymap(lambda k: not swap_problems(k), timeout,
                                  "the Command/Control swap")

    def terminate(self, timeout=20):
        """SIGTERM to the app alone (as a session ending would); returns the exit status."""
        self.process.popen.send_signal(signal.SIGTERM)
        return self.process.wait(timeout)

    def quit_by_hot_key(self, timeout=20):
        """Physical Command+Q; returns the exit status."""
        self.x.press_keycodes(COMMAND_Q)
        return self.process.wait(timeout)
