#!/usr/bin/env python3
"""The editor after a region screenshot: it opens on the capture; a rectangle drawn with
the pointer and saved with Return overwrites the same Desktop PNG and the clipboard,
without a second history row; closing it unsaved leaves the file, its row and the
clipboard as they were."""

import os
import re

import harness
from test_screenshot import COMMAND_4, near, paint_root, pattern_rgb, pattern_rows
from vistrel_app import VistrelApp
from xtools import read_png

EDITOR_TITLE = "Chỉnh sửa ảnh — Vistrel"
SYSTEM_RED = (255, 59, 48)
REGION = (300, 400, 400, 300)              # points: x, y, width, height
RECT_FROM, RECT_TO = (50, 60), (250, 200)  # image points inside the capture


def find_pattern(image, x0, y0, step=1):
    """Where the root pattern's pixel (x0, y0) shows in `image`, its right and lower
    neighbours `step` pixels away. At 100 % a capture keeps its density on a screen of
    the same scale: one of its pixels is one screen pixel."""
    data, wanted = image.tobytes(), bytes(pattern_rgb(x0, y0))
    at = data.find(wanted)
    while at >= 0:
        y, x = divmod(at // 3, image.width)
        if (at % 3 == 0 and x + step < image.width and y + step < image.height
                and image.getpixel((x + step, y)) == pattern_rgb(x0 + 1, y0)
                and image.getpixel((x, y + step)) == pattern_rgb(x0, y0 + 1)):
            return x, y
        at = data.find(wanted, at + 1)
    return None


def read(path):
    with open(path, "rb") as f:
        return f.read()


class EditorTests(harness.SystemTestCase):

    def _capture(self, session, scale):
        """Command+4 and a drag over REGION; returns the app, the saved PNG and the editor."""
        width, height = session.desktop.screen
        paint_root(session.env["DISPLAY"], width, height, pattern_rows(width, height))
        app = VistrelApp(session)
        app.ready_with_main_only()

        session.x.press_keycodes(COMMAND_4)
        harness.wait_until(lambda: self._covers_screen(session, app), 20, "the region selector")
        x, y, w, h = (int(v * scale) for v in REGION)
        session.x.run(["xdotool", "mousemove", str(x), str(y), "mousedown", "1",
                       "mousemove", str(x + w // 2), str(y + h // 2),
                       "mousemove", str(x + w), str(y + h), "mouseup", "1"])
        editor = session.x.wait_for_window(name=EDITOR_TITLE, pid=app.process.pid, timeout=20)
        names = [n for n in os.listdir(session.desktop_dir) if n.endswith(".png")]
        self.assertEqual(len(names), 1)
        return app, os.path.join(session.desktop_dir, names[0]), editor

    def _covers_screen(self, session, app):
        """A viewable window of the app over the whole screen (the selector)."""
        out = session.x.run(["xdotool", "search", "--onlyvisible", "--pid", str(app.process.pid), ""],
                            check=False).stdout.decode()
        # xdotool lists the root window too.
        root = int(re.search(r"Window id: (0x[0-9a-f]+)",
                             session.x.text(["xwininfo", "-root"])).group(1), 16)
        for wid in (int(w) for w in out.split() if int(w) != root):
            try:
                g = session.x.geometry(wid)
            except RuntimeError:
                continue
            if (g.x, g.y, g.width, g.height) == (0, 0) + tuple(session.desktop.screen):
                return True
        return False

    def _canvas_origin(self, session, editor, scale):
        """Root position of image point (0, 0), once the editor shows the capture."""
        x0, y0 = (int(v * scale) for v in REGION[:2])
        scratch = session.scratch("editor.png")

        def located():
            found = find_pattern(session.x.screenshot(scratch, editor.id), x0, y0)
            if not found:
                return None
            frame = session.x.geometry(editor.id)
            return frame.x + found[0], frame.y + found[1]
        return harness.wait_until(located, 20, "the capture on the editor's canvas")

    def _drag(self, session, origin, scale, start, end):
        """A drag on the canvas from start to end, given in image points."""
        (ox, oy), (ax, ay), (bx, by) = origin, start, end
        session.x.drag(*[(ox + int(px * scale), oy + int(py * scale))
                         for px, py in ((ax, ay), ((ax + bx) // 2, (ay + by) // 2), (bx, by))])

    def _clipboard_png(self, session):
        harness.wait_until(lambda: "image/png" in session.x.clipboard_targets(), 10,
                           "a PNG on the clipboard")
        return session.x.clipboard("image/png")

    def test_a_rectangle_saved_with_return_overwrites_the_capture(self):
        for label, screen, scale in (("scale-1", (1920, 1080), 1.0),
                                     ("scale-2", (3840, 2160), 2.0)):
            with self.subTest(label), self.session_scope(label, screen, scale) as session:
                app, path, editor = self._capture(session, scale)
                first = read(path)
                origin = self._canvas_origin(session, editor, scale)
                self._drag(session, origin, scale, RECT_FROM, RECT_TO)
                session.x.key("Return")
                session.x.wait_window_gone(editor.id, timeout=20)
                harness.wait_until(lambda: read(path) != first, 20, "the capture overwritten")

                image = read_png(path)
                x0, y0, w, h = (int(v * scale) for v in REGION)
                self.assertEqual((image.width, image.height), (w, h))
                # The outline is drawn in image points: its pixels are points times the scale.
                (ax, ay), (bx, by) = RECT_FROM, RECT_TO
                for edge, point in (("top", (150, ay)), ("bottom", (150, by)),
                                    ("left", (ax, 130)), ("right", (bx, 130))):
                    px, py = (int(v * scale) for v in point)
                    self.assertTrue(near(image.getpixel((px, py)), SYSTEM_RED, 6),
                                    "%s edge %s is %s" % (edge, (px, py), image.getpixel((px, py))))
                # Inside and outside the outline the capture is as it was.
                for point in ((150, 130), (ax - 10, ay - 10), (bx + 10, by + 10)):
                    px, py = (int(v * scale) for v in point)
                    self.assertEqual(image.getpixel((px, py)), pattern_rgb(x0 + px, y0 + py), (px, py))
                self.assertEqual(image.getpixel((w - 1, h - 1)), pattern_rgb(x0 + w - 1, y0 + h - 1))

                self.assertEqual(self._clipboard_png(session), read(path))
                self.assertEqual(app.history(), [{"type": "screenshot", "path": path}])
                self.assertEqual(sorted(os.listdir(session.desktop_dir)), [os.path.basename(path)])

    def test_closing_unsaved_leaves_file_row_and_clipboard(self):
        session = self.start_session()
        app, path, editor = self._capture(session, 1.0)
        first = read(path)
        self.assertEqual(self._clipboard_png(session), first)
        origin = self._canvas_origin(session, editor, 1.0)
        self._drag(session, origin, 1.0, (40, 40), (200, 150))

        session.x.close_window(editor.id, timeout=20)

        self.assertEqual(read(path), first)
        self.assertEqual(session.x.clipboard("image/png"), first)
        self.assertEqual(app.history(), [{"type": "screenshot", "path": path}])
        self.assertTrue(app.process.alive())


if __name__ == "__main__":
    harness.main()
