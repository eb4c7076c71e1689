#!/usr/bin/env python3
"""Screen recording against the ffmpeg command line, same desktop, same content.

    python3 bench/recording/recording_bench.py --build-dir build [--seconds 40] [--size 1920x1080]

On a private Xvfb desktop with the PulseAudio null sink, ffplay shows a moving test pattern
full screen with a white flash and a 1 kHz beep together once a second. The whole screen is
recorded for --seconds, first by Vistrel (Command+5, a drag over the screen, Command+5), then by
`ffmpeg -f x11grab ... -f pulse ...` with the preset Vistrel picks for that size. For each file:
CPU seconds per recorded second, frames written against expected, the longest gap between
frames, and the flash-to-beep offset over the first and the last 10 seconds (the drift).
Keep --seconds short on a shared machine.
"""

import argparse
import json
import os
import shutil
import statistics
import subprocess
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "..", "tests", "system"))

import harness                                              # noqa: E402
from harness import NULL_SINK                               # noqa: E402
from vistrel_app import COMMAND_5, VistrelApp               # noqa: E402


def preset_for(width, height):
    """The same choice as the app's writer."""
    pixels = width * height
    return "superfast" if pixels <= 1280 * 720 else "ultrafast"


def play_content(session, width, height):
    graph = ("testsrc2=s={w}x{h}:r=30,drawbox=c=white:t=fill:enable='lt(mod(t\\,1)\\,0.1)'[out0];"
             "sine=f=1000:r=48000,volume='if(lt(mod(t\\,1)\\,0.1)\\,1\\,0)':eval=frame[out1]").format(w=width, h=height)
    return session.spawn("ffplay", [shutil.which("ffplay"), "-loglevel", "error", "-noborder", "-left", "0", "-top", "0",
                                    "-x", str(width), "-y", str(height), "-f", "lavfi", graph],
                         extra_env={"SDL_AUDIODRIVER": "pulseaudio",
                                    # Plain software drawing into shared memory: through Mesa's GL
                                    # rasteriser the player alone would take most of the two cores at 4K.
                                    "SDL_RENDER_DRIVER": "software", "SDL_FRAMEBUFFER_ACCELERATION": "0"})


def cpu_seconds(pid):
    with open("/proc/%d/stat" % pid) as f:
        fields = f.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def record_with_vistrel(session, app, seconds, width, height):
    folder = os.path.join(session.documents_dir, "Vistrel", "Recordings")
    session.x.press_keycodes(COMMAND_5)
    time.sleep(1.5)
    session.x.run(["xdotool", "mousemove", "0", "0", "mousedown", "1", "mousemove", str(width // 2),
                   str(height // 2), "mousemove", str(width - 1), str(height - 1), "mousemove", str(width),
                   str(height), "mouseup", "1"])
    session.x.wait_for_window(name="Đang quay", pid=app.process.pid, timeout=20)
    before = cpu_seconds(app.process.pid)
    time.sleep(seconds)
    session.x.press_keycodes(COMMAND_5)
    harness.wait_until(lambda: os.path.isdir(folder) and [f for f in os.listdir(folder) if f.endswith(".mp4")]
                       and not [f for f in os.listdir(folder) if f.endswith(".recording")], 120, "the file")
    used = cpu_seconds(app.process.pid) - before
    name = [f for f in os.listdir(folder) if f.endswith(".mp4")][0]
    return os.path.join(folder, name), used


def record_with_ffmpeg(session, seconds, width, height, out):
    argv = ["ffmpeg", "-nostdin", "-v", "error", "-y", "-f", "x11grab", "-framerate", "30",
            "-video_size", "%dx%d" % (width, height), "-i", session.env["DISPLAY"] + "+0,0",
            "-f", "pulse", "-i", NULL_SINK + ".monitor", "-c:v", "libx264", "-preset", preset_for(width, height),
            "-b:v", "8M", "-g", "60", "-pix_fmt", "yuv420p",
            # Only the frames it really grabbed: the default constant rate would hide drops as copies.
            "-fps_mode", "passthrough", "-c:a", "aac", "-b:a", "192k", "-t", str(seconds), out]
    process = subprocess.Popen(argv, env=session.env)
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        raise RuntimeError("ffmpeg failed")
    return out, usage.ru_utime + usage.ru_stime


def frame_times(path):
    out = subprocess.run(["ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries", "packet=pts_time",
                          "-of", "csv=p=0", path], capture_output=True, check=True).stdout.decode()
    return sorted(float(v) for v in out.split() if v.strip() not in ("", "N/A"))


def flash_times(path):
    out = subprocess.run(["ffprobe", "-v", "error", "-f", "lavfi", "-i", "movie=%s,signalstats" % path,
                          "-show_entries", "frame=pts_time:frame_tags=lavfi.signalstats.YAVG", "-of", "json"],
                         capture_output=True, check=True).stdout
    frames = json.loads(out)["frames"]
    onsets, lit = [], False
    for f in frames:
        bright = float(f.get("tags", {}).get("lavfi.signalstats.YAVG", 0)) > 200
        if bright and not lit:
            onsets.append(float(f["pts_time"]))
        lit = bright
    return onsets


def beep_times(path):
    raw = subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-i", path, "-map", "0:a", "-ac", "1", "-ar", "48000",
                          "-f", "s16le", "-"], capture_output=True, check=True).stdout
    import array
    samples = array.array("h", raw)
    window = 48   # 1 ms
    onsets, loud, last = [], False, -1.0
    for start in range(0, len(samples) - window, window):
        peak = max(abs(s) for s in samples[start:start + window])
        now = start / 48000.0
        if peak > 3000 and not loud and now - last > 0.5:
            onsets.append(now)
            last = now
        loud = peak > 3000
    return onsets


def offsets(path):
    flashes, beeps = flash_times(path), beep_times(path)
    pairs = []
    for v in flashes:
        nearest = min(beeps, key=lambda a: abs(a - v), default=None)
        if nearest is not None and abs(nearest - v) < 0.4:
            pairs.append((v, nearest - v))
    if not pairs:
        return float("nan"), float("nan")
    end = pairs[-1][0]
    first = [o for t, o in pairs if t < 10]
    last = [o for t, o in pairs if t > end - 10]
    median = lambda values: statistics.median(values) * 1000 if values else float("nan")
    return median(first), median(last)


def measure(path, cpu):
    times = frame_times(path)
    duration = times[-1] - times[0] + 1 / 30
    gaps = [b - a for a, b in zip(times, times[1:])]
    start, later = offsets(path)
    return {"recorded_s": duration, "cpu_s_per_s": cpu / duration, "frames": len(times),
            "expected": round(duration * 30), "longest_gap_ms": max(gaps) * 1000 if gaps else 0,
            "av_offset_start_ms": start, "av_offset_end_ms": later}


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build-dir", default=os.path.join(HERE, "..", "..", "build"))
    parser.add_argument("--seconds", type=int, default=40)
    parser.add_argument("--size", default="1920x1080")
    args = parser.parse_args()
    width, height = (int(v) for v in args.size.split("x"))
    session = harness.Session(args.build_dir, screen=(width, height)).start()
    try:
        app = VistrelApp(session)
        app.process = session.launch("vistrel", (), extra_env={"VDEBUG": "1"} if os.environ.get("VDEBUG") else None)
        main_window, mapping = app.wait_ready()
        session.x.activate(mapping.id)
        session.x.key("alt+F4")
        play_content(session, width, height)
        time.sleep(3)
        results = {}
        path, cpu = record_with_vistrel(session, app, args.seconds, width, height)
        results["vistrel"] = measure(path, cpu)
        path, cpu = record_with_ffmpeg(session, args.seconds, width, height, session.scratch("ffmpeg.mp4"))
        results["ffmpeg"] = measure(path, cpu)
        if os.environ.get("VDEBUG"):
            open("/tmp/vlog.txt", "w").write(app.process.log_text())
    finally:
        session.close()
    print("%s, %d s each, preset %s" % (args.size, args.seconds, preset_for(width, height)))
    keys = ["recorded_s", "cpu_s_per_s", "frames", "expected", "longest_gap_ms", "av_offset_start_ms",
            "av_offset_end_ms"]
    print("%-20s %12s %12s" % ("", "vistrel", "ffmpeg"))
    for k in keys:
        print("%-20s %12.3f %12.3f" % (k, results["vistrel"][k], results["ffmpeg"][k]))
    print("%-20s %12.3f" % ("cpu ratio", results["vistrel"]["cpu_s_per_s"] / results["ffmpeg"]["cpu_s_per_s"]))


if __name__ == "__main__":
    main()
