#!/usr/bin/env python3
"""Screen recording, end to end; the MP4 is checked with ffprobe and ffmpeg."""

import glob
import json
import os
import re
import signal
import subprocess
import time

import harness
from vistrel_app import COMMAND_5, read, start

NAME = re.compile(r"^Recording_\d{4}-\d\d-\d\d_\d\d-\d\d-\d\d(_\d+)?\.mp4$")
HUD_TITLE = "Đang quay"


def probe(path):
    info = json.loads(subprocess.run(["ffprobe", "-v", "error", "-show_streams", "-show_format", "-of", "json",
                                      path], capture_output=True, check=True, timeout=60).stdout)
    return {s["codec_type"]: s for s in info["streams"]}, float(info["format"]["duration"])


def mean_volume(path):
    err = subprocess.run(["ffmpeg", "-nostdin", "-i", path, "-map", "0:a", "-af", "volumedetect", "-f", "null",
                          "-"], capture_output=True, timeout=60).stderr.decode()
    return float(re.search(r"mean_volume: (-?[\d.]+) dB", err).group(1))


class RecordingTests(harness.SystemTestCase):

    def _files(self, session, suffix=".mp4"):
        return sorted(glob.glob(os.path.join(session.documents_dir, "Vistrel", "Recordings", "*" + suffix)))

    def _start_recording(self, session, app, x, y, w, h):
        app.open_selector(COMMAND_5)
        session.x.drag_line(x, y, x + w, y + h)
        return session.x.wait_for_window(name=HUD_TITLE, pid=app.pid, timeout=20), time.monotonic()

    def _wait_saved(self, session, app, main):
        harness.wait_until(lambda: self._files(session) and not self._files(session, ".recording")
                           and app.main_shown(main), 60, "the recording to be saved and the main window back")
        [path] = self._files(session)
        self.assertRegex(os.path.basename(path), NAME)
        return path

    def test_region_with_sound(self):
        session, _, app = start(self.start_session())
        main = app.ready_with_main_only()
        session.spawn("tone", ["/usr/bin/ffmpeg", "-nostdin", "-v", "error", "-re", "-f", "lavfi", "-i",
                               "sine=frequency=440:sample_rate=48000:duration=30", "-ac", "2", "-f", "pulse",
                               "-device", harness.NULL_SINK, "tone"])
        hud, started = self._start_recording(session, app, 300, 200, 640, 360)
        self.assertFalse(app.main_shown(main))
        time.sleep(3)    # the length of the recording itself
        session.x.press_keycodes(COMMAND_5)
        stopped = time.monotonic()
        path = self._wait_saved(session, app, main)
        session.x.wait_window_gone(hud.id)

        streams, duration = probe(path)
        video, audio = streams["video"], streams["audio"]
        self.assertEqual((video["codec_name"], video["profile"], video["width"], video["height"],
                          video["r_frame_rate"]), ("h264", "High", 640, 360, "30/1"))
        self.assertEqual((audio["codec_name"], audio["sample_rate"], audio["channels"]), ("aac", "48000", 2))
        self.assertLess(abs(duration - (stopped - started)), 0.5, (duration, stopped - started))
        self.assertGreater(mean_volume(path), -40.0)
        head = read(path)[:64 * 1024]
        # An ordinary MP4 with its index in front, not the fragments written while recording.
        self.assertLess(head.find(b"moov"), head.find(b"mdat") if b"mdat" in head else len(head))
        self.assertNotIn(b"moof", head)
        self.assertEqual(app.history(), [{"type": "video", "path": path}])

    def test_an_early_stop_records_nothing_then_the_hud_button_stops_an_odd_region(self):
        session, _, app = start(self.start_session())
        main = app.ready_with_main_only()
        # A sound server that has stopped answering holds the film back (for up to two
        # seconds) but not the app: the HUD comes up, and a stop then lands before any frame.
        pulse = next(p for p in session.processes if p.name == "pulseaudio")
        pulse.send_signal(signal.SIGSTOP)
        try:
            self._start_recording(session, app, 300, 200, 200, 100)
            session.x.press_keycodes(COMMAND_5)
            harness.wait_until(lambda: "Đang hoàn tất video…" in app.process.log_text(), 20, "the stop")
        finally:
            pulse.send_signal(signal.SIGCONT)
        harness.wait_until(lambda: "Quay màn hình thất bại: Video chưa nhận được khung hình. Hãy quay ít nhất 1 giây."
                           in app.process.log_text() and app.main_shown(main), 30, "the no-frame failure")
        self.assertEqual((self._files(session), self._files(session, ".recording"), app.history()), ([], [], []))

        hud, _ = self._start_recording(session, app, 500, 400, 101, 51)
        time.sleep(1.5)
        g = session.x.geometry(hud.id)
        # "Dừng" sits at the right of the HUD, vertically centred.
        session.x.run(["xdotool", "mousemove", str(g.x + g.width - 40), str(g.y + g.height // 2), "click", "1"])
        path = self._wait_saved(session, app, main)
        streams, _ = probe(path)
        self.assertEqual((streams["video"]["width"], streams["video"]["height"]), (100, 50))
        self.assertEqual(app.history(), [{"type": "video", "path": path}])

    def test_killed_recording_is_listed_after_relaunch_and_quitting_finishes_one(self):
        session, _, app = start(self.start_session())
        app.ready_with_main_only()
        self._start_recording(session, app, 200, 200, 320, 240)
        time.sleep(5)
        app.process.send_signal(signal.SIGKILL)
        app.process.wait(20)
        [path] = self._files(session)
        self.assertGreater(probe(path)[1], 3.0)     # plays as it was left

        app.launch()
        app.main_window()
        harness.wait_until(lambda: app.history() == [{"type": "video", "path": path}]
                           and not self._files(session, ".recording"), 30, "the interrupted recording in the history")
        streams, duration = probe(path)
        self.assertGreater(duration, 3.0)
        self.assertEqual(streams["video"]["codec_name"], "h264")
        self.assertNotIn(b"moof", read(path)[:64 * 1024])

        # Quitting mid-recording finishes and lists the file before the app is gone.
        self._start_recording(session, app, 200, 200, 320, 240)
        time.sleep(2)
        self.assertEqual(app.quit_by_hot_key(), 0)
        self.assertEqual(self._files(session, ".recording"), [])
        [second] = [f for f in self._files(session) if f != path]
        self.assertGreater(probe(second)[1], 1.5)
        self.assertNotIn(b"moof", read(second)[:64 * 1024])
        self.assertEqual(app.history(), [{"type": "video", "path": path}, {"type": "video", "path": second}])


if __name__ == "__main__":
    harness.main()
