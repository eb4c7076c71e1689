#!/usr/bin/env python3
"""Scrolling capture over Chromium, checked against Chromium's own render of the page."""

import harness
import scrolling_pages as pages
from procs import WaitTimeout
from vistrel_app import EDITOR_TITLE

SCROLLING_BUTTON = (644, 274)          # "↧   Chụp cuộn" on the main window, in points
ESCAPE, RETURN = (9,), (36,)           # keycodes


class ScrollingCaptureTests(harness.SystemTestCase):

    def _assert_stitched(self, result, truth, left, top, width, height):
        """The capture is the page from (left, top), `width` × `height` root pixels."""
        self.assertEqual(result.size, (width, height))
        good = pages.correct_rows(result, truth.crop((left, top, left + width, top + height)))
        self.assertGreaterEqual(good / height, 0.995, "%d of %d rows correct" % (good, height))

    def test_command_6_stitches_the_whole_page_then_one_frame_at_its_end(self):
        # At scale 2 the region is 400 × 300 points about (20, 40) points into the page: from a
        # root pixel on the points' grid (even), since the selector works in points.
        for label, screen, scale, blocks, (left, top, width, height) in (
                ("scale-1", (1920, 1080), 1.0, 24, (20, 40, 800, 500)),
                ("scale-2", (3840, 2160), 2.0, 9, (40, 80, 800, 600))):
            with self.subTest(label), self.session_scope(label, screen, scale) as session:
                page = pages.start(session, blocks=blocks)
                truth = pages.ground_truth(session, page)
                left, top = left + page.vx % int(scale), top + page.vy % int(scale)
                pages.select(session, page, left, top, left + width, top + height)
                # The panel shows while the capture runs, away from the region.
                harness.wait_until(lambda: pages.hud(session, page.app), 20, "the progress panel")
                name, result = pages.wait_for_capture(session)
                # At the page's end the viewport's bottom is the page's; the region's bottom is
                # (viewport height - region bottom) above it.
                self._assert_stitched(result, truth, left, top, width,
                                      int(scale * page.height) - top - (page.browser.height - (top + height)))
                self.assertEqual(page.app.history(), [{"type": "screenshot", "path": session.desktop_dir + "/" + name}])
                editor = session.x.wait_for_window(name=EDITOR_TITLE, pid=page.app.pid, timeout=30)
                self.assertEqual(pages.hud(session, page.app), [])

                # The page is at its end now: the next capture is the region alone.
                session.x.close_window(editor.id)
                left, top = 20 + page.vx % int(scale), 10 + page.vy % int(scale)
                pages.select(session, page, left, top, left + 600, top + 200)
                self.assertEqual(pages.wait_for_capture(session, 2, 60)[1].size, (600, 200))

    def test_escape_held_cancels_and_saves_nothing(self):
        session = self.start_session()
        page = pages.start(session)
        pages.select(session, page, 20, 40, 820, 540)
        harness.wait_until(lambda: pages.hud(session, page.app), 20, "the progress panel")
        with session.x.holding(ESCAPE):
            harness.wait_until(lambda: not pages.hud(session, page.app), 20, "the panel to close")
        self.assertEqual((pages.captures(session), page.app.history()), ([], []))
        self.assertEqual(session.x.windows(name=EDITOR_TITLE, pid=page.app.pid), [])

    def test_manual_mode_keeps_a_fixed_footer_once_at_the_bottom(self):
        session = self.start_session()
        page = pages.start(session, "footer", blocks=12)
        truth = pages.ground_truth(session, page)
        app = page.app
        # The main window's "Chụp cuộn" button, then "Ứng dụng" in the alert.
        main = app.main_window()
        session.x.activate(main.id)
        session.x.click(main.id, *SCROLLING_BUTTON)
        alert = session.x.wait_for_window(name="Vistrel", pid=app.pid, timeout=20)
        session.x.activate(alert.id)
        session.x.key("Tab", "space")
        harness.wait_until(app.selector, 20, "the region selector")
        # The region runs to the viewport's bottom, over the footer.
        left, top, width = 20, 40, 800
        session.x.drag_line(page.vx + left, page.vy + top, page.vx + left + width, page.vy + page.browser.height)
        panel = harness.wait_until(lambda: pages.hud(session, app), 20, "the progress panel")[0]
        # Scrolling before the first frame is grabbed would leave the page's top out.
        harness.wait_until(lambda: pages.panel_hint_is_manual(session, panel), 20, "the first frame")
        self.assertEqual(pages.panel_frames(session, panel), 1)

        # Scroll by hand, two notches at a time, until the page stops moving. A busy machine
        # can take seconds to keep a frame; giving up early would end the capture short.
        kept = 1
        for _ in range(30):
            session.x.run(["xdotool", "mousemove", str(page.vx + 400), str(page.vy + 300), "click", "--repeat",
                           "2", "5"])
            try:
                kept = harness.wait_until(lambda: (pages.panel_frames(session, panel) or 0) > kept
                                          and pages.panel_frames(session, panel), 6, "a kept frame")
            except WaitTimeout:
                break
        with session.x.holding(RETURN):
            result = pages.wait_for_capture(session, timeout=30)[1]
        self._assert_stitched(result, truth, left, top, width, page.height - top)
        # The footer's red shows in its last rows and nowhere above them.
        rows_with_red = [y for y in range(result.height) if result.getpixel((width - 20, y)) == pages.FOOTER_RGB]
        self.assertEqual(rows_with_red, list(range(result.height - pages.FOOTER_HEIGHT, result.height)))


if __name__ == "__main__":
    harness.main()
