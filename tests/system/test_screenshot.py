#!/usr/bin/env python3
"""Region screenshot, end to end, over a pattern that tells every pixel's position."""

import os

from PIL import ImageChops

import harness
from vistrel_app import EDITOR_TITLE, SCREENSHOT_NAME, VistrelApp, near, read
from xtools import pattern_image, pattern_rgb, read_png

BLUE = (0, 122, 255)


def prepared(session):
    session.x.paint_pattern(*session.screen, session.scratch("pattern.png"))
    app = VistrelApp(session)
    return app, app.ready_with_main_only()


class ScreenshotTests(harness.SystemTestCase):

    def _assert_pattern(self, path, x0, y0, x1, y1, slack):
        """The PNG is the pattern from (x0, y0) to (x1, y1), root pixels; a fractional scale
        may widen the cut by `slack` pixels on a side, but never narrow it."""
        image = read_png(path)
        r, g, b = image.getpixel((0, 0))
        left, top = ((b >> 4) << 8) | r, ((b & 15) << 8) | g   # the pattern's own position
        right, bottom = left + image.width, top + image.height
        self.assertTrue(x0 - slack <= left <= x0 and y0 - slack <= top <= y0, (left, top, x0, y0))
        self.assertTrue(x1 <= right <= x1 + slack and y1 <= bottom <= y1 + slack, (right, bottom, x1, y1))
        wrong = ImageChops.difference(image, pattern_image(right, bottom).crop((left, top, right, bottom))).getbbox()
        self.assertIsNone(wrong, "%s is not the pattern within %s" % (path, wrong))

    def test_drag_saves_the_region_without_the_windows_that_stepped_aside(self):
        # The first shot covers the main window, open where it opens, title bar included. Its
        # editor is closed and the next shot taken at once, over where the editor was. At 1.5
        # the corners fall on thirds of a point.
        for label, screen, scale, slack in (("scale-1", (1920, 1080), 1.0, 0),
                                            ("scale-2", (3840, 2160), 2.0, 0),
                                            ("scale-1.5", (1920, 1080), 1.5, 1)):
            with self.subTest(label), self.session_scope(label, screen, scale) as session:
                app, main = prepared(session)
                frame = session.x.geometry(main.id)
                s = lambda v: int(v * scale)                       # noqa: E731

                def corners(x, y, w, h):
                    """A region's corners kept on the screen: on whole points, as the pointer
                    moves, or at 1.5 on thirds of one."""
                    x, y = max(x, 0), max(y, 0)
                    if slack:
                        return x - x % 3 + 1, y - y % 3 + 1, x + w - (x + w) % 3 + 2, y + h - (y + h) % 3 + 2
                    return tuple(v - v % int(scale) for v in (x, y, x + w, y + h))
                x0, y0, x1, y1 = corners(frame.x - s(60), frame.y - s(40), s(320), s(240))
                app.open_selector()
                self.assertFalse(app.main_shown(main))
                session.x.drag_line(x0, y0, x1, y1)
                names = harness.wait_until(app.desktop_pngs, 20, "a PNG on the Desktop")
                self.assertEqual(len(names), 1)
                self.assertRegex(names[0], SCREENSHOT_NAME)
                path = os.path.join(session.desktop_dir, names[0])
                self._assert_pattern(path, x0, y0, x1, y1, slack)
                self.assertEqual(session.x.wait_clipboard("image/png"), read(path))
                self.assertIn(session.x.clipboard("image/tiff")[:4], (b"II*\x00", b"MM\x00*"))
                self.assertEqual(app.history(), [{"type": "screenshot", "path": path}])

                editor = session.x.wait_for_window(name=EDITOR_TITLE, pid=app.pid, timeout=20)
                # After a capture the editor takes the front; the main window stays hidden.
                self.assertFalse(app.main_shown(main))
                area = session.x.geometry(editor.id)
                session.x.activate(editor.id)
                session.x.key("alt+F4")                            # no wait for the editor to go
                x0, y0, x1, y1 = corners(area.x + area.width // 2 - s(160), area.y - s(20), s(320), s(240))
                path, _ = app.capture(x0, y0, x1 - x0, y1 - y0)
                self._assert_pattern(path, x0, y0, x1, y1, slack)

    def test_selector_draws_the_frozen_screen_dimmed_and_escape_saves_nothing(self):
        session = self.start_session()
        app, main = prepared(session)
        app.open_selector()
        session.x.drag_line(600, 300, 1100, 620, release=False)

        def drawn():
            # Only the drag's last point reaches y = 620, so this border proves it is painted.
            image = session.x.screenshot(session.scratch("selector.png"))
            if not near(image.getpixel((800, 620)), BLUE):
                raise AssertionError("bottom border is %s" % (image.getpixel((800, 620)),))
            return image
        image = harness.wait_until(drawn, 20, "the selection's bottom border on screen")
        dimmed = lambda x, y: tuple(round(c * (1 - 115 / 255)) for c in pattern_rgb(x, y))   # noqa: E731
        for what, (x, y), expected in (
                ("inside", (800, 500), pattern_rgb(800, 500)),
                ("left border", (600, 450), BLUE),
                ("bottom border", (800, 620), BLUE),
                ("outside", (300, 700), dimmed(300, 700))):
            self.assertTrue(near(image.getpixel((x, y)), expected),
                            "%s: %s is not %s" % (what, image.getpixel((x, y)), expected))

        session.x.key("Escape")
        harness.wait_until(lambda: app.selector() is None, 10, "the selector to go")
        session.x.run(["xdotool", "mouseup", "1"])
        harness.wait_until(lambda: app.main_shown(main), 10, "the main window to come back")
        self.assertEqual(app.desktop_pngs(), [])
        self.assertEqual(app.history(), [])


if __name__ == "__main__":
    harness.main()
