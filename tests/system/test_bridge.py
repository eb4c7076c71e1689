#!/usr/bin/env python3
"""Keyboard bridge, end to end: Windows Mode on the X keymap, the toggle, custom mappings."""

import harness
from vistrel_app import (COMMAND_TAB, CONTROL_TAB, KEY_CAPS_LOCK, MAIN_SIZE, MAPPING_SIZE,
                         PILL_CENTRE, VistrelApp, swap_only_problems, swap_problems)


class BridgeTests(harness.SystemTestCase):

    def _launch_and_check_swap(self, session):
        x = session.x
        before = x.keymap()
        self.assertTrue(swap_problems(before), "the fresh X server already shows the swap")
        app = VistrelApp(session)
        app.launch()
        main = app.main_window()
        size = lambda w, h: (int(w * session.scale), int(h * session.scale))  # noqa: E731
        geometry = x.geometry(main.id)
        self.assertEqual((geometry.width, geometry.height), size(*MAIN_SIZE))
        app.wait_swapped()
        mapping = app.open_mapping_window()
        geometry = x.geometry(mapping.id)
        self.assertEqual((geometry.width, geometry.height), size(*MAPPING_SIZE))
        app.wait_pill(mapping, "active")
        self.assertEqual(swap_only_problems(before, x.keymap()), [])

    def test_launch_swaps_modifiers(self):
        self._launch_and_check_swap(self.start_session())

    def test_launch_swaps_modifiers_at_scale_2(self):
        self._launch_and_check_swap(self.start_session(screen=(3840, 2160), scale=2.0))

    def test_toggle_pauses_bridge_and_moves_hot_keys_to_super(self):
        session = self.start_session()
        x = session.x
        before = x.keymap()
        helpers = [session.launch("vistrel-test-window", ["--title", title])
                   for title in ("Alpha", "Beta")]
        windows = [x.wait_for_window(name=title, pid=p.pid)
                   for title, p in zip(("Alpha", "Beta"), helpers)]
        app = VistrelApp(session)
        app.launch()
        _, mapping = app.wait_ready()

        x.click(mapping.id, *PILL_CENTRE, scale=session.scale)
        app.wait_pill(mapping, "paused")
        x.wait_keymap(lambda k: not k.differences(before), 20, "the keymap from before launch")

        # Three applications: had Control+Tab switched too, two steps would land
        # elsewhere than the one step Super+Tab makes.
        order = sorted([app.process.pid] + [p.pid for p in helpers])
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
        session = self.start_session()
        x = session.x
        before = x.keymap()
        app = VistrelApp(session)
        app.launch()
        _, mapping = app.wait_ready()
        harness.wait_until(lambda: x.active_window_id() == mapping.id, 20,
                           "the key-mapping window to have the keyboard")

        x.type_text("Caps")          # source combo: selects "Caps Lock"
        x.key("Tab")
        x.type_text("Es")            # destination combo: selects "Escape"
        x.key("Tab")
        x.key("space")               # "＋"
        after = x.wait_keymap(lambda k: k.first_keysym(KEY_CAPS_LOCK) == "Escape", 20,
                              "Caps Lock to carry Escape")
        self.assertEqual(swap_problems(after), [])
        harness.wait_until(lambda: app.read_mappings()
                           == [{"source": "Caps Lock", "destination": "Escape"}],
                           20, "key-mappings.json to hold the mapping")

        # End this run the way a logout does; the hot-key quit has its own test.
        self.assertEqual(app.terminate(), 0)
        self.assertEqual(x.keymap().differences(before), [])

        app.launch()
        app.main_window()
        x.wait_keymap(lambda k: k.first_keysym(KEY_CAPS_LOCK) == "Escape" and not swap_problems(k),
                      20, "the stored mapping and the swap after relaunch")


if __name__ == "__main__":
    harness.main()
