#!/usr/bin/env python3
"""The editor after a region screenshot: it opens on the capture; a rectangle drawn with the
pointer and saved with Return overwrites the same Desktop PNG and the clipboard, without a
second history row. Closing it unsaved is in test_history."""

import os

import harness
from vistrel_app import VistrelApp, near, read
from xtools import pattern_rgb, read_png

SYSTEM_RED = (255, 59, 48)
REGION = (300, 400, 400, 300)              # points: x, y, width, height
RECT_FROM, RECT_TO = (50, 60), (250, 200)  # image points inside the capture


class EditorTests(harness.SystemTestCase):

    def test_a_rectangle_saved_with_return_overwrites_the_capture(self):
        for label, screen, scale in (("scale-1", (1920, 1080), 1.0), ("scale-2", (3840, 2160), 2.0)):
            with self.subTest(label), self.session_scope(label, screen, scale) as session:
                session.x.paint_pattern(*screen, session.scratch("pattern.png"))
                app = VistrelApp(session)
                app.ready_with_main_only()
                x0, y0, w, h = (int(v * scale) for v in REGION)
                path, editor = app.capture(x0, y0, w, h)
                first = read(path)
                ox, oy = app.canvas_origin(editor, x0, y0)
                (ax, ay), (bx, by) = RECT_FROM, RECT_TO
                session.x.drag(*[(ox + int(px * scale), oy + int(py * scale))
                                 for px, py in ((ax, ay), ((ax + bx) // 2, (ay + by) // 2), (bx, by))])
                session.x.key("Return")
                session.x.wait_window_gone(editor.id, timeout=20)
                harness.wait_until(lambda: read(path) != first, 20, "the capture overwritten")

                image = read_png(path)
                self.assertEqual(image.size, (w, h))
                # The outline is drawn in image points: its pixels are points times the scale.
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

                self.assertEqual(session.x.wait_clipboard("image/png"), read(path))
                self.assertEqual(app.history(), [{"type": "screenshot", "path": path}])
                self.assertEqual(os.listdir(session.desktop_dir), [os.path.basename(path)])


if __name__ == "__main__":
    harness.main()
