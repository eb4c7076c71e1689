#!/usr/bin/env python3
"""Region screenshot, end to end: the hot key freezes the screen, a drag over a known
pattern saves exactly that region on the Desktop, on the clipboard and in the history."""

import ctypes
import os
import re

import harness
from vistrel_app import KEY_SUPER_L, VistrelApp, chord
from xtools import read_png

KEY_4 = 13
COMMAND_4 = chord(KEY_SUPER_L, KEY_4)          # physical Command+4
NAME = re.compile(r"^Screenshot_\d{4}-\d\d-\d\d_\d\d-\d\d-\d\d(_\d+)?\.png$")
BLUE = (0, 122, 255)


def pattern_rgb(x, y):
    """Every root pixel tells its own position, so any offset or scaling shows."""
    return (x & 255, y & 255, (((x >> 8) << 4) | (y >> 8)) & 255)


def pattern_rows(width, height):
    """The pattern as 32-bit BGRX rows, the layout of a 24-bit X visual."""
    red = bytes(x & 255 for x in range(width))
    blue_high = [((x >> 8) << 4) & 255 for x in range(width)]
    for y in range(height):
        row = bytearray(width * 4)
        row[0::4] = bytes(b | (y >> 8) for b in blue_high)
        row[1::4] = bytes([y & 255]) * width
        row[2::4] = red
        yield bytes(row)


class _ClientMessage(ctypes.Structure):
    _fields_ = [("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("send_event", ctypes.c_int),
                ("display", ctypes.c_void_p), ("window", ctypes.c_ulong),
                ("message_type", ctypes.c_ulong), ("format", ctypes.c_int),
                ("data", ctypes.c_long * 5)]


class _Event(ctypes.Union):
    _fields_ = [("type", ctypes.c_int), ("client", _ClientMessage), ("pad", ctypes.c_long * 24)]


_X_ERROR_HANDLER = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.c_void_p)


def _xlib():
    """libX11 with the prototypes this file uses."""
    xlib = ctypes.CDLL("libX11.so.6")
    d, win, u, i = ctypes.c_void_p, ctypes.c_ulong, ctypes.c_uint, ctypes.c_int
    prototypes = {
        "XOpenDisplay": (d, [ctypes.c_char_p]),
        "XDefaultScreen": (i, [d]),
        "XDefaultVisual": (d, [d, i]),
        "XDefaultGC": (d, [d, i]),
        "XDefaultRootWindow": (win, [d]),
        "XCreatePixmap": (win, [d, win, u, u, u]),
        "XCreateImage": (d, [d, d, u, i, i, ctypes.c_char_p, u, u, i, i]),
        "XPutImage": (i, [d, win, d, d, i, i, i, i, u, u]),
        "XSetWindowBackgroundPixmap": (i, [d, win, win]),
        "XClearWindow": (i, [d, win]),
        "XSetCloseDownMode": (i, [d, i]),
        "XCloseDisplay": (i, [d]),
        "XInternAtom": (win, [d, ctypes.c_char_p, i]),
        "XSelectInput": (i, [d, win, ctypes.c_long]),
        "XSendEvent": (i, [d, win, i, ctypes.c_long, ctypes.POINTER(_Event)]),
        "XPending": (i, [d]),
        "XNextEvent": (i, [d, ctypes.POINTER(_Event)]),
        "XCreateSimpleWindow": (win, [d, win, i, i, u, u, u, ctypes.c_ulong, ctypes.c_ulong]),
        "XMapWindow": (i, [d, win]),
        "XDestroyWindow": (i, [d, win]),
        "XFlush": (i, [d]),
        "XSync": (i, [d, i]),
        "XSetErrorHandler": (ctypes.c_void_p, [_X_ERROR_HANDLER]),
    }
    for name, (restype, argtypes) in prototypes.items():
        function = getattr(xlib, name)
        function.restype, function.argtypes = restype, argtypes
    return xlib


def paint_root(display_name, width, height, rows):
    """Makes an image (32-bit BGRX rows) the root window's background, kept after we
    disconnect."""
    xlib = _xlib()
    display = xlib.XOpenDisplay(display_name.encode())
    if not display:
        raise RuntimeError("cannot open %s" % display_name)
    screen = xlib.XDefaultScreen(display)
    root = xlib.XDefaultRootWindow(display)
    pixmap = xlib.XCreatePixmap(display, root, width, height, 24)
    data = ctypes.create_string_buffer(b"".join(rows), width * height * 4)
    z_pixmap = 2
    image = xlib.XCreateImage(display, xlib.XDefaultVisual(display, screen), 24, z_pixmap, 0,
                              data, width, height, 32, 0)
    xlib.XPutImage(display, pixmap, xlib.XDefaultGC(display, screen), image, 0, 0, 0, 0,
                   width, height)
    xlib.XSetWindowBackgroundPixmap(display, root, pixmap)
    xlib.XClearWindow(display, root)
    retain_permanent = 1
    xlib.XSetCloseDownMode(display, retain_permanent)
    xlib.XCloseDisplay(display)   # the image's buffer stays ours (data is not freed by X)


def settle(session, pid, timeout=10):
    """Returns once the app has handled every X event queued before now, and the window
    manager every window the app asked to map until then.

    The app answers a _NET_WM_PING only after the events ahead of it, and its map requests
    reach the server before that answer. The manager takes map requests in order, so once
    it lists a window of ours mapped after the answer, it has handled the app's too."""
    found = session.x.run(["xdotool", "search", "--pid", str(pid)], check=False).stdout
    windows = [int(w) for w in found.split()]
    xlib = _xlib()
    display = xlib.XOpenDisplay(session.env["DISPLAY"].encode())
    if not display:
        raise RuntimeError("cannot open %s" % session.env["DISPLAY"])
    failed = []
    # A closed window may be gone by now; Xlib's default handler would end the test runner.
    handler = _X_ERROR_HANDLER(lambda _display, _error: failed.append(1) or 0)
    previous = xlib.XSetErrorHandler(handler)
    try:
        root = xlib.XDefaultRootWindow(display)
        protocols = xlib.XInternAtom(display, b"WM_PROTOCOLS", 0)
        ping = xlib.XInternAtom(display, b"_NET_WM_PING", 0)
        structure_notify, client_message, token = 1 << 17, 33, 0x5E771E
        xlib.XSelectInput(display, root, structure_notify)   # where the answer goes
        for window in windows:
            event = _Event()
            event.client.type = client_message
            event.client.window = window
            event.client.message_type = protocols
            event.client.format = 32
            event.client.data[:] = [ping, token, window, 0, 0]
            xlib.XSendEvent(display, window, 0, 0, ctypes.byref(event))
        xlib.XSync(display, 0)
        if len(failed) == len(windows):
            raise RuntimeError("the app (pid %d) has no window to ping" % pid)

        def answered():
            while xlib.XPending(display):
                reply = _Event()
                xlib.XNextEvent(display, ctypes.byref(reply))
                c = reply.client
                if (reply.type == client_message and c.message_type == protocols
                        and c.data[0] == ping and c.data[1] == token):
                    return True
            return False
        harness.wait_until(answered, timeout, "the app to answer a ping")

        marker = xlib.XCreateSimpleWindow(display, root, 0, 0, 8, 8, 0, 0, 0)
        xlib.XMapWindow(display, marker)
        xlib.XFlush(display)
        harness.wait_until(lambda: marker in session.x.managed_window_ids(), timeout,
                           "the window manager to take a window mapped after the ping")
        xlib.XDestroyWindow(display, marker)
        xlib.XSync(display, 0)
    finally:
        xlib.XCloseDisplay(display)
        xlib.XSetErrorHandler(ctypes.cast(previous, _X_ERROR_HANDLER))


def near(rgb, expected, tolerance=3):
    return all(abs(a - b) <= tolerance for a, b in zip(rgb, expected))


class ScreenshotTests(harness.SystemTestCase):

    def _prepare(self, session):
        width, height = session.desktop.screen
        paint_root(session.env["DISPLAY"], width, height, pattern_rows(width, height))
        app = VistrelApp(session)
        return app, app.ready_with_main_only()

    def _open_selector(self, session, app):
        """Presses Command+4 and returns the selector window once it is on screen."""
        session.x.press_keycodes(COMMAND_4)
        return harness.wait_until(lambda: app.selector(), 20,
                                  "the region selector to cover the screen")

    def _desktop_pngs(self, session):
        folder = session.desktop_dir
        return sorted(f for f in os.listdir(folder) if f.endswith(".png")) \
            if os.path.isdir(folder) else []

    def test_drag_saves_the_pattern_region(self):
        # (label, screen, scale): a 100 x 50 point region has scale times as many pixels.
        for label, screen, scale in (("scale-1", (1920, 1080), 1.0),
                                     ("scale-2", (3840, 2160), 2.0)):
            with self.subTest(label), self.session_scope(label, screen, scale) as session:
                app, main = self._prepare(session)
                self._open_selector(session, app)
                self.assertFalse(app.main_shown(main))

                x0, y0 = int(300 * scale), int(400 * scale)
                w, h = int(100 * scale), int(50 * scale)
                session.x.drag_line(x0, y0, x0 + w, y0 + h)
                names = harness.wait_until(lambda: self._desktop_pngs(session), 20,
                                           "a PNG on the Desktop")
                self.assertEqual(len(names), 1)
                self.assertRegex(names[0], NAME)
                path = os.path.join(session.desktop_dir, names[0])
                image = read_png(path)
                self.assertEqual((image.width, image.height), (w, h))
                wrong = [(x, y) for y in range(h) for x in range(w)
                         if image.getpixel((x, y)) != pattern_rgb(x0 + x, y0 + y)]
                self.assertEqual(wrong[:5], [], "%d pixels differ from the pattern" % len(wrong))

                harness.wait_until(lambda: {"image/png", "image/tiff"}
                                   <= set(session.x.clipboard_targets()), 10,
                                   "PNG and TIFF on the clipboard")
                with open(path, "rb") as f:
                    self.assertEqual(session.x.clipboard("image/png"), f.read())
                self.assertIn(session.x.clipboard("image/tiff")[:4], (b"II*\x00", b"MM\x00*"))
                self.assertEqual(app.history(), [{"type": "screenshot", "path": path}])
                # After a capture the editor takes the front; the main window stays hidden.
                self.assertFalse(app.main_shown(main))

    def _shot_matches_pattern(self, session, app, region, count):
        """Drags region (device pixels) on an open selector; the count-th PNG must be the
        pattern, pixel for pixel: no window of ours may be left in the frozen picture."""
        x0, y0, w, h = region
        session.x.drag_line(x0, y0, x0 + w, y0 + h)
        names = harness.wait_until(lambda: len(self._desktop_pngs(session)) == count
                                   and self._desktop_pngs(session), 20, "PNG number %d" % count)
        image = read_png(os.path.join(session.desktop_dir, names[-1]))
        self.assertEqual((image.width, image.height), (w, h))
        wrong = sum(1 for y in range(0, h, 2) for x in range(0, w, 2)
                    if image.getpixel((x, y)) != pattern_rgb(x0 + x, y0 + y))
        self.assertEqual(wrong, 0, "%d sampled pixels of shot %d are not the pattern" % (wrong, count))

    def test_windows_that_stepped_aside_are_not_in_the_shot(self):
        # The main window is open where it opens, over the region. Then the editor of that
        # shot is closed and the next shot taken at once, over where the editor was.
        for label, screen, scale in (("scale-1", (1920, 1080), 1.0),
                                     ("scale-2", (3840, 2160), 2.0)):
            with self.subTest(label), self.session_scope(label, screen, scale) as session:
                app, main_id = self._prepare(session)
                main = session.x.geometry(main_id)
                s = lambda v: int(v * scale)
                align = lambda v: v - v % int(scale)      # the pointer moves by whole points
                # From left of the window into it, title bar included.
                over_main = (align(main.x - s(60)), align(main.y - s(40)), s(320), s(240))
                self._open_selector(session, app)
                self._shot_matches_pattern(session, app, over_main, 1)

                editor = session.x.wait_for_window(name="Chỉnh sửa ảnh — Vistrel",
                                                   pid=app.process.pid, timeout=20)
                area = session.x.geometry(editor.id)
                over_editor = (align(area.x + area.width // 2 - s(160)), align(area.y - s(20)), s(320), s(240))
                session.x.activate(editor.id)
                session.x.key("alt+F4")
                self._open_selector(session, app)      # no wait for the editor to go
                self._shot_matches_pattern(session, app, over_editor, 2)

    def test_fractional_scale_widens_the_cut_to_whole_pixels(self):
        # At scale 1.5 the drag's corners fall on thirds of a point; the cut may grow by a
        # pixel on a side but never loses one, and keeps the screen's density.
        with self.session_scope("scale-1.5", (1920, 1080), 1.5) as session:
            app, _ = self._prepare(session)
            self._open_selector(session, app)
            x0, y0, x1, y1 = 451, 601, 602, 677      # device pixels
            session.x.drag_line(x0, y0, x1, y1)
            names = harness.wait_until(lambda: self._desktop_pngs(session), 20,
                                       "a PNG on the Desktop")
            image = read_png(os.path.join(session.desktop_dir, names[0]))
            r, g, b = image.getpixel((0, 0))
            left, top = ((b >> 4) << 8) | r, ((b & 15) << 8) | g   # the pattern's own position
            self.assertTrue(x0 - 1 <= left <= x0 and y0 - 1 <= top <= y0, (left, top))
            right, bottom = left + image.width, top + image.height
            self.assertTrue(x1 <= right <= x1 + 1 and y1 <= bottom <= y1 + 1, (right, bottom))
            wrong = [(x, y) for y in range(image.height) for x in range(image.width)
                     if image.getpixel((x, y)) != pattern_rgb(left + x, top + y)]
            self.assertEqual(wrong[:5], [])

    def test_escape_writes_nothing_and_restores_only_a_visible_window(self):
        for visible in (True, False):
            label = "visible" if visible else "hidden"
            with self.subTest(label), self.session_scope(label) as session:
                app, main = self._prepare(session)
                if not visible:
                    session.x.close_window(main.id)      # closing only hides the window
                self._open_selector(session, app)
                session.x.drag_line(200, 200, 500, 400, release=False)
                session.x.key("Escape")
                harness.wait_until(lambda: app.selector() is None, 10,
                                   "the selector to go")
                session.x.run(["xdotool", "mouseup", "1"])
                if visible:
                    harness.wait_until(lambda: app.main_shown(main), 10,
                                       "the main window to come back")
                else:
                    settle(session, app.process.pid)
                    self.assertFalse(app.main_shown(main))
                self.assertEqual(self._desktop_pngs(session), [])
                self.assertEqual(app.history(), [])

    def test_selector_draws_the_frozen_screen_dimmed_with_the_selection_clear(self):
        session = self.start_session()
        app, _ = self._prepare(session)
        self._open_selector(session, app)
        session.x.drag_line(600, 300, 1100, 620, release=False)
        shot = session.scratch("selector.png")

        def drawn():
            # Only the drag's last point reaches y = 620, so this border proves it is painted.
            image = session.x.screenshot(shot)
            if not near(image.getpixel((800, 620)), BLUE):
                raise AssertionError("bottom border is %s" % (image.getpixel((800, 620)),))
            return image
        image = harness.wait_until(drawn, 20, "the selection's bottom border on screen")
        options = self.options or harness.default_options()
        os.makedirs(options.artifacts_dir, exist_ok=True)
        os.replace(shot, os.path.join(options.artifacts_dir, "region-selector.png"))

        def dimmed(x, y):
            return tuple(round(c * (1 - 115 / 255)) for c in pattern_rgb(x, y))
        for what, (x, y), expected in (
                ("inside", (800, 500), pattern_rgb(800, 500)),
                ("inside, near the corner", (604, 304), pattern_rgb(604, 304)),
                ("left border", (600, 450), BLUE),
                ("bottom border", (800, 620), BLUE),
                ("outside", (300, 700), dimmed(300, 700)),
                ("below", (800, 900), dimmed(800, 900))):
            self.assertTrue(near(image.getpixel((x, y)), expected),
                            "%s: %s is not %s" % (what, image.getpixel((x, y)), expected))
        # The size label sits just above the top-left corner, white on dark.
        label = sum(1 for p in image.crop((608, 260, 728, 294)).getdata() if min(p) > 200)
        self.assertGreater(label, 10)
        session.x.key("Escape")
        session.x.run(["xdotool", "mouseup", "1"])


if __name__ == "__main__":
    harness.main()
