#!/usr/bin/env python3
"""The recent-captures list: Control+C on an older row copies that capture, a double
click re-opens it in the editor and saving there overwrites the same file without a new
row; "Thư mục" without any file manager leaves the app running; a row whose file is gone
shows the placeholder tile."""

import os

import harness
from test_editor import EDITOR_TITLE, EditorTests, find_pattern, read
from test_screenshot import COMMAND_4, paint_root, pattern_rows
from vistrel_app import VistrelApp
from xtools import read_png

REGIONS = ((200, 200, 240, 160), (900, 500, 240, 160))   # points: x, y, width, height
TABLE_ROWS_TOP = 460        # client points: the first row's top, below the header
ROW_HEIGHT = 64
FOLDER_BUTTON = (828, 274)  # "▤  Thư mục"


class HistoryTests(harness.SystemTestCase):

    def _row_point(self, session, main_id, row):
        return session.x.to_root(main_id, 300, TABLE_ROWS_TOP + ROW_HEIGHT * row + ROW_HEIGHT // 2)

    def _editor(self, session, app):
        return session.x.wait_for_window(name=EDITOR_TITLE, pid=app.process.pid, timeout=20)

    def _png_count(self, session):
        return len([n for n in os.listdir(session.desktop_dir) if n.endswith(".png")]) \
            if os.path.isdir(session.desktop_dir) else 0

    def test_copy_and_reedit_an_older_capture(self):
        session = self.start_session()
        width, height = session.desktop.screen
        paint_root(session.env["DISPLAY"], width, height, pattern_rows(width, height))
        no_tools = session.scratch("empty-bin")
        os.makedirs(no_tools, exist_ok=True)
        app = VistrelApp(session)
        app.process = session.launch("vistrel", extra_env={"PATH": no_tools})   # no xdg-open
        main, mapping = app.wait_ready()
        session.x.close_window(mapping.id)

        for count, (x, y, w, h) in enumerate(REGIONS, 1):
            session.x.press_keycodes(COMMAND_4)
            harness.wait_until(lambda: EditorTests._covers_screen(self, session, app), 20,
                               "the region selector")
            editors = session.x.windows(name=EDITOR_TITLE, pid=app.process.pid)
            session.x.run(["xdotool", "mousemove", str(x), str(y), "mousedown", "1",
                           "mousemove", str(x + w // 2), str(y + h // 2),
                           "mousemove", str(x + w), str(y + h), "mouseup", "1"])
            harness.wait_until(lambda: self._png_count(session) == count, 20, "capture %d" % count)
            editor = harness.wait_until(
                lambda: [e for e in session.x.windows(name=EDITOR_TITLE, pid=app.process.pid)
                         if e not in editors], 20, "the editor of capture %d" % count)[0]
            session.x.close_window(editor.id, timeout=20)      # closed unsaved

        rows = app.history()
        self.assertEqual(len(rows), 2)
        older = rows[0]["path"]
        first = read(older)
        session.launch("vistrel").wait(20)           # a second launch brings the window back
        main = harness.wait_until(lambda: session.x.windows(name=main.name, pid=app.process.pid),
                                  20, "the main window")[0]

        # Newest first: the older capture is the second row.
        session.x.move_pointer(*self._row_point(session, main.id, 1))
        session.x.run(["xdotool", "click", "1"])
        session.x.key("ctrl+c")
        harness.wait_until(lambda: "image/png" in session.x.clipboard_targets(), 10,
                           "a PNG on the clipboard")
        copied = session.scratch("copied.png")
        with open(copied, "wb") as f:
            f.write(session.x.clipboard("image/png"))
        on_clipboard, on_disk = read_png(copied), read_png(older)
        self.assertEqual((on_clipboard.width, on_clipboard.height), (on_disk.width, on_disk.height))
        self.assertEqual(on_clipboard.tobytes(), on_disk.tobytes())

        # The newer capture's file goes away; its row shows the placeholder from the next reload.
        os.remove(rows[1]["path"])
        session.x.run(["xdotool", "click", "--repeat", "2", "--delay", "80", "1"])
        editor = self._editor(session, app)
        x0, y0 = REGIONS[0][:2]
        scratch = session.scratch("editor.png")

        def canvas_origin():
            found = find_pattern(session.x.screenshot(scratch, editor.id), x0, y0)
            frame = session.x.geometry(editor.id)
            return (frame.x + found[0], frame.y + found[1]) if found else None
        ox, oy = harness.wait_until(canvas_origin, 20, "the older capture in the editor")
        session.x.run(["xdotool", "mousemove", str(ox + 40), str(oy + 40), "mousedown", "1",
                       "mousemove", str(ox + 100), str(oy + 80),
                       "mousemove", str(ox + 160), str(oy + 120), "mouseup", "1"])
        session.x.key("Return")
        session.x.wait_window_gone(editor.id, timeout=20)
        harness.wait_until(lambda: read(older) != first, 20, "the older capture overwritten")
        self.assertEqual(app.history(), rows)

        def placeholder_shown():
            shot = session.x.screenshot(session.scratch("list.png"), main.id)
            tile = [shot.getpixel((x, y)) for y in range(TABLE_ROWS_TOP, TABLE_ROWS_TOP + ROW_HEIGHT)
                    for x in range(40, 152)]
            return sum(1 for rgb in tile if all(abs(c - 85) <= 3 for c in rgb)) > 1500
        harness.wait_until(placeholder_shown, 10, "the placeholder tile on the first row")

        # No file manager to open the folder with: the app says nothing and goes on.
        session.x.click(main.id, *FOLDER_BUTTON, scale=session.scale)
        # ... and still answers: Control+C on the row whose file is gone copies the file.
        session.x.move_pointer(*self._row_point(session, main.id, 0))
        session.x.run(["xdotool", "click", "1"])
        session.x.key("ctrl+c")
        harness.wait_until(lambda: "x-special/gnome-copied-files" in session.x.clipboard_targets(),
                           10, "the missing file's path on the clipboard")

        self.assertTrue(app.process.alive())


if __name__ == "__main__":
    harness.main()
