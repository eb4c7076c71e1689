#!/usr/bin/env python3
"""The editor after a region screenshot; closing it unsaved is in test_history."""

import os

import harness
from vistrel_app import near, read, start
from xtools import pattern_rgb, read_png

SYSTEM_RED = (255, 59, 48)
REGION = (300, 400, 400, 300)              # points: x, y, width, height
RECT_FROM, RECT_TO = (50, 60), (250, 200)  # image points inside the capture


class EditorTests(harness.SystemTestCase):

    def test_a_rectangle_saved_with_return_overwrites_the_capture(self):
        for label, screen, scale in (("scale-1", (1920, 1080), 1.0), ("scale-2", (3840, 2160), 2.0)):
            with self.subTest(label), self.session_scope(label, screen, scale) as session:
                _, x, app = start(session)
                x.paint_pattern(*screen, session.scratch("pattern.png"))
                app.ready_with_main_only()
                x0, y0, w, h = (int(v * scale) for v in REGION)
                path, editor = app.capture(x0, y0, w, h)
                first = read(path)
                ox, oy = app.canvas_origin(editor, x0, y0)
                (ax, ay), (bx, by) = RECT_FROM, RECT_TO
                x.drag(*[(ox + int(px * scale), oy + int(py * scale))
                         for px, py in ((ax, ay), ((ax + bx) // 2, (ay + by) // 2), (bx, by))])
                x.key("Return")
                x.wait_window_gone(editor.id, timeout=20)
                harness.wait_until(lambda: read(path) != first, 20, "the capture overwritten")

                image = read_png(path)
                self.assertEqual(image.size, (w, h))
                # The outline (its edges, in image points times the scale) is red; inside and
                # outside it, up to the last pixel, the capture is as it was.
                for point, red in (((150, ay), True), ((150, by), True), ((ax, 130), True), ((bx, 130), True),
                                   ((150, 130), False), ((ax - 10, ay - 10), False), ((bx + 10, by + 10), False),
                                   (((w - 1) / scale, (h - 1) / scale), False)):
                    px, py = (int(v * scale) for v in point)
                    got = image.getpixel((px, py))
                    self.assertTrue(near(got, SYSTEM_RED, 6) if red else got == pattern_rgb(x0 + px, y0 + py),
                                    "%s is %s" % ((px, py), got))

                self.assertEqual(x.wait_clipboard("image/png"), read(path))
                self.assertEqual(app.history(), [{"type": "screenshot", "path": path}])
                self.assertEqual(os.listdir(session.desktop_dir), [os.path.basename(path)])


if __name__ == "__main__":
    harness.main()
