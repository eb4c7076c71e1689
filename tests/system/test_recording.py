#!/usr/bin/env python3
"""Screen recording, end to end: Command+5, a drag, a few seconds of a tone playing into
the sound server, Command+5 again; the MP4 is checked with ffprobe and ffmpeg."""

import json
import os
import re
import shutil
import signal
import subprocess
import time

import harness
from desktop import NULL_SINK
from vistrel_app import KEY_SUPER_L, VistrelApp, chord

KEY_5 = 14
COMMAND_5 = chord(KEY_SUPER_L, KEY_5)
NAME = re.compile(r"^Recording_\d{4}-\d\d-\d\d_\d\d-\d\d-\d\d(_\d+)?\.mp4$")
HUD_TITLE = "Đang quay"


def probe(path):
    out = subprocess.run(["ffprobe", "-v", "error", "-show_streams", "-show_format", "-of", "json", path],
                         capture_output=True, check=True, timeout=60).stdout
    info = json.loads(out)
    streams = {s["codec_type"]: s for s in info["streams"]}
    return streams, float(info["format"]["duration"])


def mean_volume(path):
    err = subprocess.run(["ffmpeg", "-nostdin", "-v", "info", "-i", path, "-map", "0:a", "-af", "volumedetect",
                          "-f", "null", "-"], capture_output=True, timeout=60).stderr.decode()
    match = re.search(r"mean_volume: (-?[\d.]+|-inf) dB", err)
    return float(match.group(1)) if match and match.group(1) != "-inf" else float("-inf")


class RecordingTests(harness.SystemTestCase):

    def _prepare(self, session):
        app = VistrelApp(session)
        return app, app.ready_with_main_only()

    def _folder(self, session):
        return os.path.join(session.documents_dir, "Vistrel", "Recordings")

    def _files(self, session, pattern=NAME):
        folder = self._folder(session)
        return sorted(f for f in os.listdir(folder) if pattern.match(f)) if os.path.isdir(folder) else []

    def _markers(self, session):
        folder = self._folder(session)
        return [f for f in os.listdir(folder) if f.endswith(".recording")] if os.path.isdir(folder) else []

    def _open_selector(self, session, app):
        session.x.press_keycodes(COMMAND_5)
        return harness.wait_until(lambda: app.selector(), 20,
                                  "the recording region selector")

    def _start_recording(self, session, app, region):
        self._open_selector(session, app)
        x, y, w, h = region
        session.x.drag_line(x, y, x + w, y + h)
        hud = session.x.wait_for_window(name=HUD_TITLE, pid=app.process.pid, timeout=20)
        return hud, time.monotonic()

    def _wait_saved(self, session, app, main):
        harness.wait_until(lambda: self._files(session) and not self._markers(session)
                           and app.main_shown(main), 60,
                           "the recording to be saved and the main window back")
        return os.path.join(self._folder(session), self._files(session)[0])

    def _play_tone(self, session, seconds):
        return session.spawn("tone", [shutil.which("ffmpeg"), "-nostdin", "-v", "error", "-re", "-f", "lavfi", "-i",
                                      "sine=frequency=440:sample_rate=48000:duration=%d" % seconds,
                                      "-ac", "2", "-f", "pulse", "-device", NULL_SINK, "tone"])

    def test_region_with_sound(self):
        session = self.start_session()
        app, main = self._prepare(session)
        self._play_tone(session, 30)
        hud, started = self._start_recording(session, app, (300, 200, 640, 360))
        self.assertFalse(app.main_shown(main))
        time.sleep(3)    # the length of the recording itself
        session.x.press_keycodes(COMMAND_5)
        stopped = time.monotonic()
        path = self._wait_saved(session, app, main)
        session.x.wait_window_gone(hud.id)

        streams, duration = probe(path)
        video, audio = streams["video"], streams["audio"]
        self.assertEqual((video["codec_name"], video["profile"]), ("h264", "High"))
        self.assertEqual((video["width"], video["height"]), (640, 360))
        self.assertEqual(video["r_frame_rate"], "30/1")
        self.assertEqual((audio["codec_name"], audio["sample_rate"], audio["channels"]), ("aac", "48000", 2))
        self.assertLess(abs(duration - (stopped - started)), 0.5, (duration, stopped - started))
        self.assertGreater(mean_volume(path), -40.0)
        with open(path, "rb") as f:
            head = f.read(64 * 1024)
        # An ordinary MP4 with its index in front, not the fragments written while recording.
        self.assertLess(head.find(b"moov"), head.find(b"mdat") if b"mdat" in head else len(head))
        self.assertNotIn(b"moof", head)
        self.assertEqual(app.history(), [{"type": "video", "path": path}])

    def test_odd_region_stopped_by_the_hud_button(self):
        session = self.start_session()
        app, main = self._prepare(session)
        hud, _ = self._start_recording(session, app, (500, 400, 101, 51))
        time.sleep(1.5)
        g = session.x.geometry(hud.id)
        # "Dừng" sits at the right of the HUD, vertically centred.
        session.x.run(["xdotool", "mousemove", str(g.x + g.width - 40), str(g.y + g.height // 2),
                       "click", "1"])
        path = self._wait_saved(session, app, main)
        streams, _ = probe(path)
        self.assertEqual((streams["video"]["width"], streams["video"]["height"]), (100, 50))
        self.assertEqual(len(app.history()), 1)

    def test_escape_records_nothing(self):
        session = self.start_session()
        app, main = self._prepare(session)
        self._open_selector(session, app)
        session.x.key("Escape")
        harness.wait_until(lambda: app.main_shown(main), 20, "the main window back")
        self.assertEqual(self._files(session), [])
        self.assertEqual(app.history(), [])

    def test_killed_recording_plays_and_is_listed_after_relaunch(self):
        session = self.start_session()
        app, main = self._prepare(session)
        self._start_recording(session, app, (200, 200, 320, 240))
        time.sleep(5)
        killed_after = 5.0
        app.process.popen.send_signal(signal.SIGKILL)
        app.process.wait(20)
        names = self._files(session)
        self.assertEqual(len(names), 1)
        path = os.path.join(self._folder(session), names[0])
        _, duration = probe(path)      # plays as it was left
        self.assertGreater(duration, killed_after - 2.0)

        app = VistrelApp(session)
        app.launch()
        app.main_window()
        harness.wait_until(lambda: app.history() == [{"type": "video", "path": path}]
                           and not self._markers(session), 30, "the interrupted recording in the history")
        streams, duration = probe(path)
        self.assertGreater(duration, killed_after - 2.0)
        self.assertEqual(streams["video"]["codec_name"], "h264")
        with open(path, "rb") as f:
            self.assertNotIn(b"moof", f.read(64 * 1024))


if __name__ == "__main__":
    harness.main()
