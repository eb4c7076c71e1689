#!/usr/bin/env python3
"""The recent-captures list: copy, re-edit, open the folder, a missing file's tile."""

import io
import os

from PIL import Image

import harness
from vistrel_app import EDITOR_TITLE, read, start
from xtools import read_png

REGIONS = ((200, 200, 240, 160), (900, 500, 240, 160))   # points: x, y, width, height
TABLE_ROWS_TOP = 460        # client points: the first row's top, below the header
ROW_HEIGHT = 64
FOLDER_BUTTON = (828, 274)  # "▤  Thư mục"


class HistoryTests(harness.SystemTestCase):

    def test_copy_and_reedit_an_older_capture(self):
        session, x, app = start(self.start_session())
        x.paint_pattern(*session.screen, session.scratch("pattern.png"))
        no_tools = session.scratch("empty-bin")
        os.makedirs(no_tools)
        main = app.ready_with_main_only(extra_env={"PATH": no_tools})   # no xdg-open

        path, editor = app.capture(*REGIONS[0])
        first = read(path)
        self.assertEqual(x.wait_clipboard("image/png"), first)
        ox, oy = app.canvas_origin(editor, *REGIONS[0][:2])
        x.drag((ox + 40, oy + 40), (ox + 120, oy + 95), (ox + 200, oy + 150))
        x.close_window(editor.id, timeout=20)          # closed unsaved
        self.assertEqual((read(path), x.clipboard("image/png")), (first, first))
        _, editor = app.capture(*REGIONS[1])
        x.close_window(editor.id, timeout=20)
        rows = app.history()
        self.assertEqual(rows, [{"type": "screenshot", "path": path}, rows[1]])
        session.launch("vistrel").wait(20)           # a second launch brings the window back
        main = harness.wait_until(lambda: x.windows(name=main.name, pid=app.pid), 20, "the main window")[0]

        def select_row(row):
            x.click(main.id, 300, TABLE_ROWS_TOP + ROW_HEIGHT * row + ROW_HEIGHT // 2)
            x.key("ctrl+c")
        # Newest first: the older capture is the second row.
        select_row(1)
        on_clipboard, on_disk = Image.open(io.BytesIO(x.wait_clipboard("image/png"))).convert("RGB"), read_png(path)
        self.assertEqual((on_clipboard.size, on_clipboard.tobytes()), (on_disk.size, on_disk.tobytes()))

        # The newer capture's file goes away; its row shows the placeholder from the next reload.
        os.remove(rows[1]["path"])
        x.click(main.id, 300, TABLE_ROWS_TOP + ROW_HEIGHT + ROW_HEIGHT // 2, repeat=2)
        editor = x.wait_for_window(name=EDITOR_TITLE, pid=app.pid, timeout=20)
        ox, oy = app.canvas_origin(editor, *REGIONS[0][:2])
        x.drag((ox + 40, oy + 40), (ox + 100, oy + 80), (ox + 160, oy + 120))
        x.key("Return")
        x.wait_window_gone(editor.id, timeout=20)
        harness.wait_until(lambda: read(path) != first, 20, "the older capture overwritten")
        self.assertEqual(app.history(), rows)

        def placeholder_shown():
            tile = x.screenshot(session.scratch("list.png"), main.id).crop((40, TABLE_ROWS_TOP, 152,
                                                                            TABLE_ROWS_TOP + ROW_HEIGHT))
            return sum(1 for rgb in tile.getdata() if all(abs(c - 85) <= 3 for c in rgb)) > 1500
        harness.wait_until(placeholder_shown, 10, "the placeholder tile on the first row")

        # No file manager to open the folder with: the app says nothing and goes on ...
        x.click(main.id, *FOLDER_BUTTON, scale=session.scale)
        # ... and still answers: Control+C on the row whose file is gone copies the file.
        select_row(0)
        x.wait_clipboard("x-special/gnome-copied-files")
        self.assertTrue(app.process.alive())


if __name__ == "__main__":
    harness.main()
