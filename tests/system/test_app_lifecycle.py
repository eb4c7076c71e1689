#!/usr/bin/env python3
"""Quitting, starting over damaged files, and a second launch."""

import os

import harness
from vistrel_app import MAIN_TITLE_PREFIX, VistrelApp, read, swap_only_problems

_GARBAGE = bytes((i * 37 + 11) % 256 for i in range(8192))

# (label, key-mappings.json bytes, history.db bytes)
CORRUPT_FILES = [
    ("truncated-json-and-text-db",
     b'[{"source":"Caps Lock","destination":"Esc',
     b"this is not a database\n" * 200),
    # One bad object empties the whole list, so Caps Lock must stay Caps Lock.
    ("one-bad-object-and-damaged-pages",
     b'[{"source":"Caps Lock","destination":"Escape"},{"source":"Tab"}]',
     b"SQLite format 3\x00" + _GARBAGE),
    ("object-not-array-and-zeroed-db",
     b'{"source":"Caps Lock","destination":"Escape"}',
     bytes(4096)),
]


class LifecycleTests(harness.SystemTestCase):

    def test_corrupt_files_start_cleanly_and_stay_untouched(self):
        for label, mappings, history in CORRUPT_FILES:
            with self.subTest(label), self.session_scope(label) as session:
                x = session.x
                app = VistrelApp(session)
                os.makedirs(app.support_dir, exist_ok=True)
                with open(app.mappings_file, "wb") as f:
                    f.write(mappings)
                with open(app.history_db, "wb") as f:
                    f.write(history)
                before = x.keymap()

                app.launch()
                app.wait_ready()      # the mapping tool has run with whatever was loaded
                self.assertEqual(swap_only_problems(before, x.keymap()), [])
                self.assertTrue(app.process.alive())

                self.assertEqual(app.quit_by_hot_key(), 0)
                self.assertEqual(x.keymap().differences(before), [])
                self.assertEqual((read(app.mappings_file), read(app.history_db)), (mappings, history))

    def test_second_launch_brings_first_forward_and_exits(self):
        session = self.start_session()
        x = session.x
        first = VistrelApp(session)
        first.launch()
        main = first.main_window()
        first.wait_swapped()
        x.close_window(main.id)      # the window manager's close: the app only hides
        self.assertTrue(first.process.alive())
        files_before = session.file_tree()
        runtime_before = session.file_tree(session.runtime_dir)
        keymap_before = x.keymap()

        second = session.launch("vistrel")
        self.assertEqual(second.wait(20), 0)
        shown = x.wait_for_window(prefix=MAIN_TITLE_PREFIX, pid=first.process.pid)
        harness.wait_until(lambda: x.active_window_id() == shown.id, 20,
                           "the first instance's main window in front")
        self.assertEqual([w.pid for w in x.windows(prefix=MAIN_TITLE_PREFIX)],
                         [first.process.pid])
        self.assertEqual(session.file_tree(), files_before)
        self.assertEqual(session.file_tree(session.runtime_dir), runtime_before)
        # Had the second instance applied or removed the mapping, the keymap would show it.
        self.assertEqual(x.keymap().differences(keymap_before), [])
        self.assertTrue(first.process.alive())


if __name__ == "__main__":
    harness.main()
