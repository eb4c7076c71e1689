#!/usr/bin/env python3
"""Starting over damaged files, and quitting."""

import os
from pathlib import Path

import harness
from vistrel_app import read, start, swap_only_problems

_GARBAGE = bytes((i * 37 + 11) % 256 for i in range(8192))

# (label, key-mappings.json bytes, history.db bytes)
CORRUPT_FILES = [
    # One bad object empties the whole list, so Caps Lock must stay Caps Lock.
    ("one-bad-object-and-damaged-pages",
     b'[{"source":"Caps Lock","destination":"Escape"},{"source":"Tab"}]',
     b"SQLite format 3\x00" + _GARBAGE),
]


class LifecycleTests(harness.SystemTestCase):

    def test_corrupt_files_start_cleanly_and_stay_untouched(self):
        for label, mappings, history in CORRUPT_FILES:
            with self.subTest(label), self.session_scope(label) as session:
                _, x, app = start(session)
                os.makedirs(app.support_dir, exist_ok=True)
                Path(app.mappings_file).write_bytes(mappings)
                Path(app.history_db).write_bytes(history)
                before = x.keymap()

                app.launch()
                app.wait_ready()      # the mapping tool has run with whatever was loaded
                self.assertEqual(swap_only_problems(before, x.keymap()), [])
                self.assertTrue(app.process.alive())

                self.assertEqual(app.quit_by_hot_key(), 0)
                self.assertEqual(x.keymap().differences(before), [])
                self.assertEqual((read(app.mappings_file), read(app.history_db)), (mappings, history))


if __name__ == "__main__":
    harness.main()
