"""Web pages for the scrolling tests, Chromium to show and render them, and a row-by-row comparison."""

import base64
import io
import os
import random
import re
import subprocess
import types
from pathlib import Path

from PIL import Image, ImageChops

import harness
from vistrel_app import COMMAND_6, VistrelApp
from xtools import read_png

NAME = re.compile(r"^ScrollingCapture_\d{4}-\d\d-\d\d_\d\d-\d\d-\d\d(_\d+)?\.png$")
HUD_SIZE = (320, 98)
CHROMIUM = "/usr/bin/chromium"
PAGE_WIDTH = 900            # the content's fixed width, in CSS pixels
MARKER = (255, 0, 255)      # the page's first 6 × 6 pixels, to find the viewport on screen
# Text anti-aliasing differs a little between headless and windowed rendering, so a row
# counts as correct when 99 % of its pixels are within 40 levels.
CHANNEL_TOLERANCE, ROW_GOOD_SHARE = 40, 0.99
FOOTER_HEIGHT, FOOTER_RGB = 48, (0xe6, 0x39, 0x46)


def _noise_png(width, height, seed):
    noise = random.Random(seed).randbytes(width // 4 * (height // 4) * 3)
    out = io.BytesIO()
    Image.frombytes("RGB", (width // 4, height // 4), noise).resize((width, height), Image.NEAREST).save(out, "PNG")
    return base64.b64encode(out.getvalue()).decode()


def page_html(kind, blocks, seed=1):
    """(html, page height in CSS pixels) of text, pictures and coloured blocks of fixed
    heights; kind "footer" adds a fixed footer."""
    rng, body, height = random.Random(seed), [], 0
    words = "scroll capture stitch frame shift row page image editor region".split()
    for i in range(blocks):
        h = (6 * 24 + 16, 120 + 20 * (i % 4), 90)[i % 3]
        if i % 3 == 0:
            lines = "<br>".join("%d. %s" % (height + n, " ".join(rng.choice(words) for _ in range(9)))
                                for n in range(6))
            body.append('<div style="height:%dpx;padding:8px 16px;box-sizing:border-box;'
                        'font:16px/24px sans-serif;color:#222">%s</div>' % (h, lines))
        elif i % 3 == 1:
            body.append('<img style="display:block;width:%dpx;height:%dpx" src="data:image/png;base64,%s">'
                        % (PAGE_WIDTH, h, _noise_png(PAGE_WIDTH, h, seed * 1000 + i)))
        else:
            body.append('<div style="height:%dpx;background:#%06x;margin-left:%dpx;width:%dpx"></div>'
                        % (h, rng.randrange(1 << 24), rng.randrange(300), 200 + rng.randrange(400)))
        height += h
    if kind == "footer":
        body.append('<div style="position:fixed;left:0;bottom:0;width:%dpx;height:%dpx;background:rgb%s;'
                    'color:white;font:18px/48px sans-serif;padding-left:16px;box-sizing:border-box">'
                    'Fixed footer</div>' % (PAGE_WIDTH, FOOTER_HEIGHT, str(FOOTER_RGB)))
    return ("<!doctype html><html><head><meta charset='utf-8'><title>page-%s</title><style>"
            "html,body{margin:0;padding:0;background:#fff} ::-webkit-scrollbar{display:none}"
            "body{width:%dpx}"
            "#marker{position:absolute;z-index:10;left:0;top:0;width:6px;height:6px;background:rgb%s}"
            "</style></head><body><div id='marker'></div>%s</body></html>"
            % (kind, PAGE_WIDTH, str(MARKER), "".join(body))), height


def chromium(session, profile, *args):
    # --test-type: no infobar about the sandbox flag over the page.
    return [CHROMIUM, "--no-sandbox", "--test-type", "--disable-gpu", "--user-data-dir=" + session.scratch(profile),
            "--no-first-run", "--no-default-browser-check", "--disable-extensions", "--disable-sync",
            "--disable-features=Translate,MediaRouter", "--password-store=basic",
            "--force-device-scale-factor=%g" % session.scale] + list(args)


def start(session, kind="content", window=(1000, 800), blocks=24, page=None):
    """The app ready, then Chromium in front on `page` (html, height) or the one built for `kind`:
    the app, the page's file and height, its top-left's root position and Chromium's geometry."""
    app = VistrelApp(session)
    app.ready_with_main_only()
    html, height = page or page_html(kind, blocks)
    path = session.scratch("page-%s.html" % kind)
    Path(path).write_text(html, encoding="utf-8")
    session.spawn("chromium", chromium(session, "profile", "--window-position=0,0", "--window-size=%d,%d" % window,
                                       "--app=file://" + path))
    browser = session.x.wait_for_window(name="page-" + kind, timeout=60)
    session.x.activate(browser.id)

    def viewport():
        pixels = session.x.screenshot(session.scratch("screen.png")).load()
        return next(((x, y) for y in range(400) for x in range(400)
                     if pixels[x, y] == MARKER and pixels[x + 5, y + 5] == MARKER), None)
    vx, vy = harness.wait_until(viewport, 60, "the page drawn in Chromium")
    return types.SimpleNamespace(app=app, path=path, height=height, vx=vx, vy=vy,
                                 browser=session.x.geometry(browser.id))


def ground_truth(session, page, width=1000):
    """Chromium's own headless render of the whole page at the same width and scale."""
    out = session.scratch("truth.png")
    subprocess.run(chromium(session, "truth-profile", "--headless", "--hide-scrollbars",
                            "--window-size=%d,%d" % (width, page.height), "--screenshot=" + out,
                            "file://" + page.path), check=True, capture_output=True, timeout=120)
    return Image.open(out).convert("RGB")


def correct_rows(result, truth):
    """Rows of result equal to truth's rows (same size) within the tolerance."""
    r, g, b = ImageChops.difference(result.convert("RGB"), truth.convert("RGB")).split()
    bad = ImageChops.lighter(ImageChops.lighter(r, g), b).point(lambda v: 255 if v > CHANNEL_TOLERANCE else 0)
    return sum(1 for v in bad.resize((1, bad.height), Image.BOX).getdata() if v / 255.0 <= 1.0 - ROW_GOOD_SHARE)


def select(session, page, left, top, right, bottom, keys=COMMAND_6):
    """Command+6, then a drag over the page, in root pixels from the page's top-left."""
    page.app.open_selector(keys)
    session.x.drag_line(page.vx + left, page.vy + top, page.vx + right, page.vy + bottom)


def hud(session, app):
    """The progress panel's windows on screen (none or one)."""
    return [wid for wid, g in session.x.visible_windows(app.pid)
            if (g.width, g.height) == tuple(int(v * session.scale) for v in HUD_SIZE)]


def captures(session):
    return sorted(f for f in os.listdir(session.desktop_dir) if NAME.match(f))


def wait_for_capture(session, count=1, timeout=120):
    """The count-th saved capture, decoded."""
    name = harness.wait_until(lambda: len(captures(session)) >= count and captures(session), timeout,
                              "ScrollingCapture PNG number %d" % count)[count - 1]
    return name, read_png(os.path.join(session.desktop_dir, name))


def panel_frames(session, wid):
    """The frame count a progress panel shows now (its title mirrors the progress line)."""
    match = re.search(r"(\d+)", getattr(session.x.window(wid), "name", ""))
    return int(match.group(1)) if match else None


def panel_hint_is_manual(session, wid):
    """True once the panel's hint line reads the manual text, shown only after the first frame
    was grabbed (the count reads 1 from the start). Told apart by length: the manual hint runs
    past four fifths of the panel, the web hint stops well short of that."""
    image = session.x.screenshot(session.scratch("hud.png"), wid).convert("L")
    unit = image.height / HUD_SIZE[1]
    band = image.crop((0, round((HUD_SIZE[1] - 31) * unit), image.width, round((HUD_SIZE[1] - 13) * unit)))
    background = band.getpixel((1, 1))
    ink = band.point(lambda v: 255 if abs(v - background) > 40 else 0).getbbox()
    return ink is not None and ink[2] > image.width * 4 // 5
