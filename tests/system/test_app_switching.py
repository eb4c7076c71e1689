#!/usr/bin/env python3
"""Command+Tab and Command+Shift+Tab cycle through the running applications by pid."""

import harness
from vistrel_app import COMMAND_SHIFT_TAB, COMMAND_TAB, VistrelApp


class AppSwitchingTests(harness.SystemTestCase):

    def test_command_tab_cycles_in_pid_order_both_ways(self):
        session = self.start_session()
        x = session.x
        titles = ("Switch A", "Switch B", "Switch C")
        helpers = [session.launch("vistrel-test-window", ["--title", t]) for t in titles]
        for title, helper in zip(titles, helpers):
            x.wait_for_window(name=title, pid=helper.pid)
        app = VistrelApp(session)
        app.launch()
        app.wait_ready()
        order = sorted([app.process.pid] + [h.pid for h in helpers])

        front = harness.wait_until(x.active_pid, 20, "an active window")
        self.assertIn(front, order)
        position = order.index(front)
        # A full lap each way, so both wrap-arounds are crossed.
        steps = [(COMMAND_TAB, +1)] * len(order) + [(COMMAND_SHIFT_TAB, -1)] * len(order)
        for number, (keys, direction) in enumerate(steps, 1):
            position = (position + direction) % len(order)
            x.press_keycodes(keys)
            harness.wait_until(lambda: x.active_pid() == order[position], 20,
                               "step %d (%s): pid %d in front, order %s"
                               % (number, keys, order[position], order))


if __name__ == "__main__":
    harness.main()
