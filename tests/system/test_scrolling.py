#!/usr/bin/env python3
"""Scrolling capture, end to end, over a real browser: Command+6 over a Chromium page
scrolls it to the end and stitches one long PNG that must equal Chromium's own render of
the page; Escape cancels; a page already at its end gives one frame; the progress panel
is never in the picture."""

import os
import time

from PIL import Image

import harness
import scrolling_pages as pages
from scrolling_pages import EDITOR_TITLE


class ScrollingCaptureTests(harness.SystemTestCase):

    # -- tests -----------------------------------------------------------------

    def test_command_6_stitches_the_whole_page_as_chromium_renders_it(self):
        session = self.start_session()
        app, path, (vx, vy), browser = pages.start(session, "content")
        _, page_height = pages.page_html("content")
        truth = pages.ground_truth(path, session.scratch("truth.png"), page_height)

        # Region: 800 × 500 inside the viewport, 40 rows below the page's top.
        left, top, width, height = 20, 40, 800, 500
        started = time.monotonic()
        pages.select(session, app, vx + left, vy + top, vx + left + width, vy + top + height)
        # The panel shows while the capture runs, away from the region.
        hud = harness.wait_until(lambda: pages.hud(session, app), 20, "the progress panel")
        self.assertTrue(hud)
        names = harness.wait_until(lambda: pages.captures(session), 120, "a ScrollingCapture PNG")
        seconds = time.monotonic() - started

        result = Image.open(os.path.join(session.desktop_dir, names[0])).convert("RGB")
        # At the page's end the viewport's bottom is the page's; the region's bottom is
        # (viewport height - region bottom) above it.
        expected_height = page_height - top - (browser.height - (top + height))
        self.assertEqual(result.width, width)
        self.assertEqual(result.height, expected_height, "height error in rows")
        crop = truth.crop((left, top, left + width, top + expected_height))
        good = pages.correct_rows(result, crop)
        self.assertGreaterEqual(good / expected_height, 0.995,
                                "%d of %d rows correct (%.1f s)" % (good, expected_height, seconds))

        rows = app.history()
        self.assertEqual([(r["type"], os.path.basename(r["path"])) for r in rows],
                         [("screenshot", names[0])])
        session.x.wait_for_window(name=EDITOR_TITLE, pid=app.process.pid, timeout=30)
        self.assertEqual(pages.hud(session, app), [])

    def test_scale_2_capture_is_twice_as_dense_as_the_region(self):
        session = self.start_session(screen=(3840, 2160), scale=2.0)
        app, path, (vx, vy), browser = pages.start(session, "content", blocks=9)
        _, page_height = pages.page_html("content", blocks=9)
        truth = pages.ground_truth(path, session.scratch("truth.png"), page_height, scale=2.0)
        # 400 × 300 points about (20, 40) points into the page: 800 × 600 root pixels, from
        # a root pixel on the points' grid (even), since the selector works in points.
        left, top, width, height = 40 + vx % 2, 80 + vy % 2, 800, 600
        pages.select(session, app, vx + left, vy + top, vx + left + width, vy + top + height)
        name, _ = pages.wait_for_capture(session, app, 120)
        result = Image.open(os.path.join(session.desktop_dir, name)).convert("RGB")
        expected_height = 2 * page_height - top - (browser.height - (top + height))
        self.assertEqual(result.size, (width, expected_height))
        crop = truth.crop((left, top, left + width, top + expected_height))
        good = pages.correct_rows(result, crop)
        self.assertGreaterEqual(good / expected_height, 0.995, "%d of %d rows correct" % (good, expected_height))

    def test_panel_never_in_the_picture_even_over_its_corner(self):
        # A region reaching the screen's top-right corner, where the panel usually sits.
        session = self.start_session()
        app, path, (vx, vy), browser = pages.start(session, "content", window=(1920, 1000), blocks=6)
        screen_width = session.desktop.screen[0]
        pages.select(session, app, vx + 500, vy + 10, screen_width - 1, vy + 400)
        hud = harness.wait_until(lambda: pages.hud(session, app), 20, "the progress panel")
        # The panel went to a corner clear of the region.
        g = session.x.geometry(hud[0])
        self.assertTrue(g.x + g.width <= vx + 500 or g.y >= vy + 400, g)
        names = harness.wait_until(lambda: pages.captures(session), 120, "a ScrollingCapture PNG")
        result = Image.open(os.path.join(session.desktop_dir, names[0])).convert("RGB")
        # The panel's dark background (white 0.12) appears nowhere in a white-and-colour page's
        # right margin, which is where it would show.
        margin = result.crop((PAGE_MARGIN_START - 500, 0, result.width, result.height))
        colours = {c for _, c in margin.getcolors(1 << 20)}
        self.assertNotIn((31, 31, 31), colours)
        self.assertEqual(colours, {(255, 255, 255)})

    def test_page_already_at_its_end_gives_one_frame(self):
        session = self.start_session()
        app, path, (vx, vy), browser = pages.start(session, "content", blocks=2)
        left, top, width, height = 20, 10, 600, 200
        pages.select(session, app, vx + left, vy + top, vx + left + width, vy + top + height)
        names = harness.wait_until(lambda: pages.captures(session), 60, "a ScrollingCapture PNG")
        result = Image.open(os.path.join(session.desktop_dir, names[0]))
        self.assertEqual(result.size, (width, height))

    def test_escape_held_cancels_and_saves_nothing(self):
        session = self.start_session()
        app, path, (vx, vy), browser = pages.start(session, "content")
        pages.select(session, app, vx + 20, vy + 40, vx + 820, vy + 540)
        harness.wait_until(lambda: pages.hud(session, app), 20, "the progress panel")
        session.x.run(["xdotool", "keydown", "Escape"])
        try:
            harness.wait_until(lambda: not pages.hud(session, app), 20, "the panel to close")
        finally:
            session.x.run(["xdotool", "keyup", "Escape"])
        self.assertEqual(pages.captures(session), [])
        self.assertEqual(app.history(), [])
        self.assertEqual(session.x.windows(name=EDITOR_TITLE, pid=app.process.pid), [])


    def test_manual_mode_keeps_a_fixed_footer_once_at_the_bottom(self):
        session = self.start_session()
        app, path, (vx, vy), browser = pages.start(session, "footer", blocks=12)
        _, page_height = pages.page_html("footer", blocks=12)
        truth = pages.ground_truth(path, session.scratch("truth.png"), page_height)

        # The main window's "Chụp cuộn" button, then "Ứng dụng" in the alert.
        main = app.main_window()
        session.x.activate(main.id)
        session.x.click(main.id, *SCROLLING_BUTTON)
        alert = session.x.wait_for_window(name="Vistrel", pid=app.process.pid, timeout=20)
        session.x.activate(alert.id)
        session.x.key("Tab", "space")
        harness.wait_until(lambda: app.selector(), 20, "the region selector")
        # The region runs to the viewport's bottom, over the footer.
        left, top, width = 20, 40, 800
        session.x.drag_line(vx + left, vy + top, vx + left + width, vy + browser.height)
        panel = harness.wait_until(lambda: pages.hud(session, app), 20, "the progress panel")[0]
        # Scrolling before the first frame is grabbed would leave the page's top out.
        hud_shot = session.scratch("hud.png")
        harness.wait_until(lambda: pages.panel_hint_is_manual(session, panel, hud_shot), 20, "the first frame")
        self.assertEqual(pages.panel_frames(session, panel), 1)

        # Scroll by hand, two notches at a time, until the page stops moving. A busy machine
        # can take seconds to keep a frame; giving up early would end the capture short.
        kept = 1
        for _ in range(30):
            session.x.run(["xdotool", "mousemove", str(vx + 400), str(vy + 300), "click", "--repeat", "2", "5"])
            try:
                kept = harness.wait_until(lambda: (pages.panel_frames(session, panel) or 0) > kept
                                          and pages.panel_frames(session, panel), 6, "a kept frame")
            except harness.WaitTimeout:
                break
        session.x.run(["xdotool", "keydown", "Return"])
        try:
            name, _ = pages.wait_for_capture(session, app, 30)
        finally:
            session.x.run(["xdotool", "keyup", "Return"])

        result = Image.open(os.path.join(session.desktop_dir, name)).convert("RGB")
        expected_height = page_height - top
        self.assertEqual(result.size, (width, expected_height))
        crop = truth.crop((left, top, left + width, top + expected_height))
        good = pages.correct_rows(result, crop)
        self.assertGreaterEqual(good / expected_height, 0.995, "%d of %d rows correct" % (good, expected_height))
        # The footer's red shows in the last 48 rows and nowhere above them.
        red = (0xe6, 0x39, 0x46)
        rows_with_red = [y for y in range(result.height) if result.getpixel((width - 20, y)) == red]
        self.assertEqual(rows_with_red, list(range(result.height - 48, result.height)))


SCROLLING_BUTTON = (644, 274)          # "↧   Chụp cuộn" on the main window, in points
PAGE_MARGIN_START = pages.PAGE_WIDTH   # CSS content ends here; beyond it the page is white


if __name__ == "__main__":
    harness.main()
