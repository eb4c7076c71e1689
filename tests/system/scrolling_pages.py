"""Web pages for the scrolling capture tests, Chromium to show them, its own headless
render of the whole page as the ground truth, and a row-by-row comparison (Pillow)."""

import base64
import io
import os
import random
import re
import subprocess

from PIL import Image, ImageChops

import harness
from vistrel_app import KEY_SUPER_L, VistrelApp, chord

KEY_6 = 15
COMMAND_6 = chord(KEY_SUPER_L, KEY_6)           # physical Command+6
NAME = re.compile(r"^ScrollingCapture_\d{4}-\d\d-\d\d_\d\d-\d\d-\d\d(_\d+)?\.png$")
EDITOR_TITLE = "Chỉnh sửa ảnh — Vistrel"
HUD_SIZE = (320, 98)

CHROMIUM = "/usr/bin/chromium"
PAGE_WIDTH = 900            # the content's fixed width, in CSS pixels
MARKER = (255, 0, 255)      # the page's first 6 × 6 pixels, to find the viewport on screen

# Row tolerance: text anti-aliasing differs a little between headless and windowed
# rendering, so a row counts as correct when 99 % of its pixels are within 40 levels.
CHANNEL_TOLERANCE = 40
ROW_GOOD_SHARE = 0.99


def _noise_png(width, height, seed):
    rng = random.Random(seed)
    image = Image.new("RGB", (width // 4, height // 4))
    image.putdata([(rng.randrange(256), rng.randrange(256), rng.randrange(256))
                   for _ in range(image.width * image.height)])
    out = io.BytesIO()
    image.resize((width, height), Image.NEAREST).save(out, "PNG")
    return base64.b64encode(out.getvalue()).decode()


def _content_blocks(count, seed):
    """Text, pictures and coloured blocks, every block of a fixed height."""
    rng = random.Random(seed)
    blocks, height = [], 0
    words = "scroll capture stitch frame shift row page image editor region".split()
    for i in range(count):
        kind = i % 3
        if kind == 0:
            lines = "<br>".join("%d. %s" % (height + n, " ".join(rng.choice(words) for _ in range(9)))
                                for n in range(6))
            h = 6 * 24 + 16
            blocks.append('<div style="height:%dpx;padding:8px 16px;box-sizing:border-box;'
                          'font:16px/24px sans-serif;color:#222">%s</div>' % (h, lines))
        elif kind == 1:
            h = 120 + 20 * (i % 4)
            blocks.append('<img style="display:block;width:%dpx;height:%dpx" src="data:image/png;base64,%s">'
                          % (PAGE_WIDTH, h, _noise_png(PAGE_WIDTH, h, seed * 1000 + i)))
        else:
            h = 90
            colour = "#%02x%02x%02x" % (rng.randrange(256), rng.randrange(256), rng.randrange(256))
            blocks.append('<div style="height:%dpx;background:%s;margin-left:%dpx;width:%dpx"></div>'
                          % (h, colour, rng.randrange(300), 200 + rng.randrange(400)))
        height += h
    return "".join(blocks), height


def page_html(kind, blocks=24, seed=1):
    """(html, page height in CSS pixels). kinds: content, sticky, footer, identical."""
    body, height = _content_blocks(blocks, seed)
    extra = ""
    if kind == "sticky":
        extra = ('<div style="position:sticky;top:0;height:56px;background:#1d3557;color:white;'
                 'font:20px/56px sans-serif;padding-left:16px">Sticky header</div>')
        height += 56
    elif kind == "footer":
        extra = ('<div style="position:fixed;left:0;bottom:0;width:%dpx;height:48px;background:#e63946;'
                 'color:white;font:18px/48px sans-serif;padding-left:16px;box-sizing:border-box">'
                 'Fixed footer</div>' % PAGE_WIDTH)
    elif kind == "identical":
        row = '<div style="height:40px;border-bottom:2px solid #888;box-sizing:border-box;font:16px/38px sans-serif">Same row</div>'
        body = body[: len(body) // 3] + row * 60
        body, height = body, None
    html = ("<!doctype html><html><head><meta charset='utf-8'><title>page-%s</title><style>"
            "html,body{margin:0;padding:0;background:#fff}"
            "::-webkit-scrollbar{display:none}"
            "body{width:%dpx}"
            "#marker{position:absolute;z-index:10;left:0;top:0;width:6px;height:6px;background:rgb%s}"
            "</style></head><body><div id='marker'></div>%s%s</body></html>"
            % (kind, PAGE_WIDTH, str(MARKER), extra, body))
    return html, height


def write_page(folder, kind, **kwargs):
    html, _ = page_html(kind, **kwargs)
    path = os.path.join(folder, "page-%s.html" % kind)
    with open(path, "w", encoding="utf-8") as f:
        f.write(html)
    return path


def chromium_flags(profile):
    # --test-type: no infobar about the sandbox flag over the page.
    return ["--no-sandbox", "--test-type", "--disable-gpu", "--user-data-dir=" + profile, "--no-first-run",
            "--no-default-browser-check", "--disable-extensions", "--disable-sync",
            "--disable-features=Translate,MediaRouter", "--password-store=basic"]


def show_in_chromium(session, path, size=(1000, 800)):
    """Starts Chromium in app mode on the page, at the session's scale; returns its process."""
    profile = session.scratch("chromium-profile")
    argv = [CHROMIUM] + chromium_flags(profile) + [
        "--force-device-scale-factor=%g" % session.scale,
        "--window-position=0,0", "--window-size=%d,%d" % size, "--app=file://" + path]
    return session.spawn("chromium", argv)


def ground_truth(path, out, height, width=1000, scale=1.0):
    """Chromium's own headless render of the whole page at the same width and scale."""
    profile = out + ".profile"
    subprocess.run([CHROMIUM, "--headless", "--hide-scrollbars", "--force-device-scale-factor=%g" % scale]
                   + chromium_flags(profile)
                   + ["--window-size=%d,%d" % (width, height), "--screenshot=" + out, "file://" + path],
                   check=True, capture_output=True, timeout=120)
    return Image.open(out).convert("RGB")


def find_marker(image):
    """Root position of the page's top-left corner, from the marker's pixels."""
    rgb = image.convert("RGB")
    width, height = rgb.size
    pixels = rgb.load()
    for y in range(0, min(height, 400)):
        for x in range(0, min(width, 400)):
            if pixels[x, y] == MARKER and pixels[x + 5, y + 5] == MARKER:
                return x, y
    return None


def correct_rows(result, truth):
    """Rows of result equal to truth's rows (both RGB, same size) within the tolerance."""
    diff = ImageChops.difference(result.convert("RGB"), truth.convert("RGB"))
    r, g, b = diff.split()
    worst = ImageChops.lighter(ImageChops.lighter(r, g), b)
    bad = worst.point(lambda v: 255 if v > CHANNEL_TOLERANCE else 0)
    share_bad = bad.resize((1, bad.height), Image.BOX)
    return sum(1 for v in share_bad.getdata() if v / 255.0 <= 1.0 - ROW_GOOD_SHARE)


# -- driving the app over Chromium ------------------------------------------------

def start(session, kind, window=(1000, 800), **page_options):
    # window: Chromium's size in CSS pixels; origin and geometry come back in root pixels.
    """The app ready (hot keys registered), then Chromium in front on a page. Returns
    (app, page path, root position of the page's top-left, Chromium's client geometry)."""
    app = VistrelApp(session)
    app.ready_with_main_only()
    path = write_page(session.scratch(""), kind, **page_options)
    show_in_chromium(session, path, window)
    browser = session.x.wait_for_window(name="page-" + kind, timeout=60)
    session.x.activate(browser.id)
    shot = session.scratch("screen.png")

    def viewport():
        session.x.screenshot(shot)
        return find_marker(Image.open(shot))
    origin = harness.wait_until(viewport, 60, "the page drawn in Chromium")
    return app, path, origin, session.x.geometry(browser.id)


def visible_windows(session, app):
    out = session.x.run(["xdotool", "search", "--onlyvisible", "--pid",
                         str(app.process.pid), ""], check=False).stdout.decode()
    found = []
    for wid in out.split():
        try:
            found.append((int(wid), session.x.geometry(int(wid))))
        except RuntimeError:
            continue
    return found


def hud(session, app):
    """The progress panel's windows on screen (none or one)."""
    return [wid for wid, g in visible_windows(session, app) if (g.width, g.height) == HUD_SIZE]


def select(session, app, x0, y0, x1, y1, keys=COMMAND_6):
    """Command+6, then a drag from (x0, y0) to (x1, y1) on the live selector."""
    session.x.press_keycodes(keys)
    harness.wait_until(lambda: app.selector(), 20, "the region selector")
    session.x.drag_line(x0, y0, x1, y1)


def captures(session):
    folder = session.desktop_dir
    return sorted(f for f in os.listdir(folder) if NAME.match(f)) if os.path.isdir(folder) else []


def panel_frames(session, wid):
    """The frame count a progress panel shows now (its title mirrors the progress line)."""
    info = session.x.window(wid)
    match = re.search(r"(\d+)", info.name if info else "")
    return int(match.group(1)) if match else None


def panel_hint_is_manual(session, wid, scratch_path):
    """True once the panel's hint line reads the manual text, which the panel shows only
    after the first frame has been grabbed (its count reads 1 from the start). Told apart
    by length: the manual hint runs past four fifths of the panel, the web hint stops
    well short of that."""
    session.x.screenshot(scratch_path, wid)
    image = Image.open(scratch_path).convert("L")
    unit = image.height / HUD_SIZE[1]
    band = image.crop((0, round((HUD_SIZE[1] - 13 - 18) * unit), image.width, round((HUD_SIZE[1] - 13) * unit)))
    background = band.getpixel((1, 1))
    ink = band.point(lambda v: 255 if abs(v - background) > 40 else 0).getbbox()
    return ink is not None and ink[2] > image.width * 4 // 5


def hud_frames(session, app):
    for wid in hud(session, app):
        count = panel_frames(session, wid)
        if count is not None:
            return count
    return None


def wait_for_capture(session, app, timeout):
    """Waits for the saved PNG; returns (its name, the last frame count the panel showed)."""
    frames = [None]

    def saved():
        count = hud_frames(session, app)
        if count is not None:
            frames[0] = count
        return captures(session)
    names = harness.wait_until(saved, timeout, "a ScrollingCapture PNG")
    return names[0], frames[0]
