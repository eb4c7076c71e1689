#!/usr/bin/env python3
"""Keyboard bridge, end to end: Windows Mode, Command+Tab by pid, the toggle, custom mappings."""

import json

import harness
from vistrel_app import (COMMAND_SHIFT_TAB, COMMAND_TAB, CONTROL_TAB, KEY_CAPS_LOCK, PILL_CENTRE, read, start,
                         swap_only_problems, swap_problems)


class BridgeTests(harness.SystemTestCase):

    def test_command_tab_cycles_in_pid_order_and_the_toggle_moves_it_to_super(self):
        session, x, app = start(self.start_session())
        before = x.keymap()
        titles = ("Alpha", "Beta", "Gamma")
        helpers = [session.launch("vistrel-test-window", ["--title", title]) for title in titles]
        windows = [x.wait_for_window(name=title, pid=p.pid) for title, p in zip(titles, helpers)]
        app.launch()
        _, mapping = app.wait_ready()
        order = sorted([app.pid] + [p.pid for p in helpers])
        position = order.index(harness.wait_until(x.active_pid, 20, "an active window"))
        # A full lap each way, so both wrap-arounds are crossed.
        steps = [(COMMAND_TAB, 1)] * len(order) + [(COMMAND_SHIFT_TAB, -1)] * len(order)
        for number, (keys, step) in enumerate(steps, 1):
            position = (position + step) % len(order)
            x.press_keycodes(keys)
            harness.wait_until(lambda: x.active_pid() == order[position], 20,
                               "step %d (%s): pid %d in front, order %s" % (number, keys, order[position], order))

        x.click(mapping.id, *PILL_CENTRE, scale=session.scale)
        app.wait_pill(mapping, "paused")
        x.wait_keymap(lambda k: not k.differences(before), 20, "the keymap from before launch")

        # Had Control+Tab switched too, two steps would land elsewhere than the one step
        # Super+Tab makes.
        x.activate(windows[0].id)
        harness.wait_until(lambda: x.active_pid() == helpers[0].pid, 20, "Alpha in front")
        x.press_keycodes(CONTROL_TAB)
        x.press_keycodes(COMMAND_TAB)
        expected = order[(order.index(helpers[0].pid) + 1) % len(order)]
        harness.wait_until(lambda: x.active_pid() == expected, 20,
                           "pid %d in front after Super+Tab (order %s)" % (expected, order))

        # Turning it back on brings the swap back, and nothing else.
        x.click(mapping.id, *PILL_CENTRE, scale=session.scale)
        app.wait_pill(mapping, "active")
        self.assertEqual(swap_only_problems(before, x.keymap()), [])

    def test_custom_mapping_applies_at_once_and_survives_restart(self):
        session, x, app = start(self.start_session())
        before = x.keymap()
        app.launch()
        _, mapping = app.wait_ready()
        harness.wait_until(lambda: x.active_window_id() == mapping.id, 20, "the mapping window to have the keyboard")
        x.type_text("Caps")          # source combo: selects "Caps Lock"
        x.key("Tab")
        x.type_text("Es")            # destination combo: selects "Escape"
        x.key("Tab", "space")        # "＋"
        after = x.wait_keymap(lambda k: k.first_keysym(KEY_CAPS_LOCK) == "Escape", 20,
                              "Caps Lock to carry Escape")
        self.assertEqual(swap_problems(after), [])
        harness.wait_until(lambda: json.loads(read(app.mappings_file)) == [
            {"source": "Caps Lock", "destination": "Escape"}], 20, "key-mappings.json to hold the mapping")

        # End this run the way a logout does; the hot-key quit has its own test.
        self.assertEqual(app.terminate(), 0)
        self.assertEqual(x.keymap().differences(before), [])

        app.launch()
        app.main_window()
        x.wait_keymap(lambda k: k.first_keysym(KEY_CAPS_LOCK) == "Escape" and not swap_problems(k),
                      20, "the stored mapping and the swap after relaunch")


if __name__ == "__main__":
    harness.main()
