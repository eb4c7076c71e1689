#!/usr/bin/env python3
"""Takes docs/editor.png and docs/editor@2x.png from the real app on a private desktop.

    python3 docs/editor_screenshots.py --build-dir build

A sales dashboard is painted as the desktop, a region of it is captured with the hot
key, and the editor that opens is annotated through the pointer and the keyboard: a
rectangle, an arrow, two numbered callouts, a floating text box and a floating pasted
image. The editor window is shot at scale 1 and at scale 2.
"""

import argparse
import os
import shutil
import subprocess
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(os.path.dirname(HERE), "tests", "system"))

import harness  # noqa: E402
from vistrel_app import COMMAND_4, EDITOR_TITLE, VistrelApp  # noqa: E402

FONT = "/usr/share/fonts/truetype/noto/NotoSans-Regular.ttf"
BOLD = "/usr/share/fonts/truetype/noto/NotoSans-Bold.ttf"
REGION = (380, 150, 1040, 580)           # points, on the dashboard
NOTE = "Doanh thu tháng 11 tăng 24% so với tháng trước"

# Editor layout, in points (tool bar 42 high with insets 8, buttons 28 wide, 4 apart).
TOOLS = {"arrow": 3, "rectangle": 4, "text": 6, "callout": 7}
SURROUND = (38, 38, 38)


class Drawing:
    """ImageMagick -draw commands at a scale, so one layout serves both densities."""

    def __init__(self, scale):
        self.s = scale
        self.args = []

    def n(self, v):
        return "%g" % (v * self.s)

    def rect(self, fill, x, y, w, h, radius=0, stroke=None):
        self.args += ["-fill", fill, "-stroke", stroke or "none", "-strokewidth", self.n(1),
                      "-draw", "roundrectangle %s,%s %s,%s %s,%s" % (
                          self.n(x), self.n(y), self.n(x + w), self.n(y + h), self.n(radius),
                          self.n(radius))]

    def circle(self, fill, cx, cy, r):
        self.args += ["-fill", fill, "-stroke", "none",
                      "-draw", "circle %s,%s %s,%s" % (self.n(cx), self.n(cy), self.n(cx + r), self.n(cy))]

    def polyline(self, colour, width, points):
        self.args += ["-fill", "none", "-stroke", colour, "-strokewidth", self.n(width),
                      "-draw", "polyline " + " ".join("%s,%s" % (self.n(x), self.n(y)) for x, y in points)]

    def text(self, colour, size, x, y, words, bold=False):
        self.args += ["-stroke", "none", "-fill", colour, "-font", BOLD if bold else FONT,
                      "-pointsize", self.n(size * 0.75), "-annotate",
                      "+%s+%s" % (self.n(x), self.n(y)), words]


def dashboard(path, scale):
    """A sales report in a browser-like window on a calm desktop."""
    d = Drawing(scale)
    d.rect("#ffffff", 120, 70, 1680, 940, 14, "#d9dce3")
    d.rect("#1f2430", 120, 70, 1680, 56, 14)
    d.rect("#1f2430", 120, 110, 1680, 16)
    for i, c in enumerate(("#ff5f57", "#febc2e", "#28c840")):
        d.circle(c, 148 + i * 22, 98, 7)
    d.rect("#2c3342", 420, 84, 1080, 28, 8)
    d.text("#aab2c5", 15, 440, 104, "analytics.vistrel.app/bao-cao/doanh-thu")
    d.rect("#f6f7fb", 120, 126, 240, 884)
    for i, item in enumerate(("Tổng quan", "Doanh thu", "Khách hàng", "Sản phẩm", "Cài đặt")):
        if i == 1:
            d.rect("#e6ecff", 136, 160 + i * 44, 208, 34, 8)
        d.text("#2d3a5a" if i == 1 else "#5b6478", 16, 156, 183 + i * 44, item, bold=(i == 1))
    d.text("#1b2233", 30, 400, 186, "Báo cáo doanh thu", bold=True)
    d.text("#6b7385", 16, 400, 214, "Tháng 11 · cập nhật 09:30")
    cards = (("Doanh thu", "1,28 tỷ ₫", "+24%", "#1f9d55"), ("Đơn hàng", "3.482", "+8%", "#1f9d55"),
             ("Khách mới", "912", "-3%", "#d64545"), ("Tỉ lệ chuyển đổi", "3,9%", "+0,4", "#1f9d55"))
    for i, (label, value, delta, colour) in enumerate(cards):
        x = 400 + i * 340
        d.rect("#ffffff", x, 240, 316, 130, 12, "#e3e6ee")
        d.text("#6b7385", 16, x + 22, 276, label)
        d.text("#1b2233", 34, x + 22, 326, value, bold=True)
        d.text(colour, 16, x + 22, 354, delta + " so với tháng 10")
    d.rect("#ffffff", 400, 396, 1000, 420, 12, "#e3e6ee")
    d.text("#1b2233", 20, 424, 432, "Doanh thu theo tuần (triệu ₫)", bold=True)
    heights = (120, 150, 135, 180, 170, 210, 195, 240, 230, 270, 300, 330)
    for i, h in enumerate(heights):
        d.rect("#c7d4f7" if i < 11 else "#3b6ef5", 450 + i * 76, 780 - h, 44, h, 6)
    d.polyline("#e3e6ee", 1, [(430, 781), (1370, 781)])
    for i in range(12):
        d.text("#8a92a5", 13, 458 + i * 76, 802, "T%d" % (i + 1))
    d.rect("#ffffff", 1420, 396, 360, 420, 12, "#e3e6ee")
    d.text("#1b2233", 20, 1444, 432, "Sản phẩm bán chạy", bold=True)
    for i, (name, amount) in enumerate((("Tai nghe Aura", "312"), ("Loa Mini S", "268"),
                                        ("Sạc nhanh 65W", "241"), ("Cáp USB-C", "198"),
                                        ("Ốp lưng Neo", "167"))):
        y = 480 + i * 62
        d.rect("#eef2fd", 1444, y - 22, 36, 36, 8)
        d.text("#1b2233", 16, 1496, y + 2, name)
        d.text("#6b7385", 15, 1720, y + 2, amount)
    d.rect("#f6f7fb", 400, 840, 1380, 140, 12)
    d.text("#5b6478", 15, 424, 880, "Ghi chú: số liệu tuần 12 là tạm tính, chốt sổ vào ngày 30/11.")
    width, height = int(1920 * scale), int(1080 * scale)
    subprocess.run(["convert", "-size", "%dx%d" % (width, height), "gradient:#dfe7f2-#c3cfe2"]
                   + d.args + ["-alpha", "off", path], check=True)
    return width, height


def sticker(path, scale):
    """A small product photo to paste: a headphone icon on a soft gradient card."""
    d = Drawing(scale)
    d.rect("#ffffff", 0, 0, 239, 159, 14)
    d.rect("#fff4d6", 10, 10, 219, 139, 10)
    d.circle("#ffcc4d", 180, 48, 20)
    d.polyline("#1b2233", 9, [(78, 104), (78, 76), (90, 54), (120, 44), (150, 54), (162, 76), (162, 104)])
    d.rect("#3b6ef5", 62, 88, 30, 44, 8)
    d.rect("#3b6ef5", 148, 88, 30, 44, 8)
    d.text("#1b2233", 15, 20, 146, "Tai nghe Aura", bold=True)
    subprocess.run(["convert", "-size", "%dx%d" % (240 * scale, 160 * scale), "xc:none"] + d.args + [path],
                   check=True)


def canvas_rect(x, editor, scale, scratch):
    """The canvas inside the editor window, in device pixels: where the grey surround of
    the scroll view gives way, along its middle row and column."""
    image = x.screenshot(scratch, editor.id)
    mid_y = int((42 + (image.height / scale - 74) / 2) * scale)
    row = [image.getpixel((i, mid_y)) != SURROUND for i in range(image.width - int(232 * scale))]
    left, right = row.index(True), len(row) - row[::-1].index(True)
    mid_x = (left + right) // 2
    column = [image.getpixel((mid_x, j)) != SURROUND for j in range(image.height - int(32 * scale))]
    top = column.index(True, int(42 * scale))
    bottom = len(column) - column[::-1].index(True)
    return left, top, right - left, bottom - top


def centred_overlay(view, image):
    """Where a pasted image first floats on a view of this size (points)."""
    s = min(view[0] * 0.55 / image[0], view[1] * 0.55 / image[1], 1)
    w, h = max(image[0] * s, 64), max(image[1] * s, 64)
    return (view[0] - w) / 2, (view[1] - h) / 2, w, h


def shoot(build_dir, scale, out_path):
    session = harness.Session(build_dir, screen=(int(1920 * scale), int(1080 * scale)), scale=scale).start()
    try:
        x = session.x
        backdrop = session.scratch("dashboard.png")
        dashboard(backdrop, scale)
        x.paint_root(backdrop)
        photo = session.scratch("sticker.png")
        sticker(photo, scale)
        note = session.scratch("note.txt")
        with open(note, "w", encoding="utf-8") as f:
            f.write(NOTE)

        app = VistrelApp(session)
        app.launch()
        _, mapping = app.wait_ready()
        x.activate(mapping.id)
        x.key("alt+F4")
        x.wait_window_gone(mapping.id)

        x.press_keycodes(COMMAND_4)
        time.sleep(1.0)
        rx, ry, rw, rh = (int(v * scale) for v in REGION)
        x.run(["xdotool", "mousemove", str(rx), str(ry), "mousedown", "1", "mousemove", str(rx + rw // 2),
               str(ry + rh // 2), "mousemove", str(rx + rw), str(ry + rh), "mouseup", "1"])
        editor = x.wait_for_window(name=EDITOR_TITLE, pid=app.process.pid, timeout=20)
        time.sleep(1.5)
        frame = x.geometry(editor.id)
        cx, cy, cw, ch = canvas_rect(x, editor, scale, session.scratch("probe.png"))
        view = (cw / scale, ch / scale)          # the canvas in points
        k = view[0] / REGION[2]                  # view points per dashboard point

        def on_view(vx, vy):
            return str(frame.x + cx + int(round(vx * scale))), str(frame.y + cy + int(round(vy * scale)))

        def on_board(px, py):
            return on_view((px - REGION[0]) * k, (py - REGION[1]) * k)

        def in_window(px, py):
            return str(frame.x + int(px * scale)), str(frame.y + int(py * scale))

        def click(point):
            x.run(["xdotool", "mousemove", *point, "click", "1"])

        def tool(name):
            click(in_window(8 + TOOLS[name] * 32 + 14, 21))

        def drag(a, b, keys=()):
            mid = (str((int(a[0]) + int(b[0])) // 2), str((int(a[1]) + int(b[1])) // 2))
            steps = ["mousemove", *a]
            for key in keys:
                steps += ["keydown", key]
            steps += ["mousedown", "1", "mousemove", *mid, "mousemove", *b, "mouseup", "1"]
            for key in keys:
                steps += ["keyup", key]
            x.run(["xdotool"] + steps)

        tool("rectangle")
        drag(on_board(392, 232), on_board(724, 378))
        tool("callout")
        click(on_board(716, 240))
        click(on_board(1304, 436))
        tool("arrow")
        drag(on_board(1000, 600), on_board(1276, 470))

        # A text box whose lower-left corner is the click, the note pasted over its hint.
        tool("text")
        click(on_board(412, 712))
        session.spawn("xclip-text", ["/usr/bin/xclip", "-selection", "clipboard", "-i", note])
        time.sleep(0.5)
        x.key("ctrl+v")

        # The product photo pasted from the clipboard floats centred; it is brought to
        # 240 by 160 points (Shift keeps its ratio) and moved over the top right.
        session.spawn("xclip-image", ["/usr/bin/xclip", "-selection", "clipboard", "-t", "image/png", "-i", photo])
        time.sleep(0.5)
        click(in_window(frame.width / scale - 8 - 14 - 2 * 32, 21))
        time.sleep(0.5)
        ox, oy, ow, oh = centred_overlay(view, (240 * scale, 160 * scale))
        if abs(ow - 240) > 1:
            drag(on_view(ox, oy), on_view(ox + ow - 240, oy + oh - 160), keys=["shift"])
            ox, oy, ow, oh = ox + ow - 240, oy + oh - 160, 240, 160
        target = (view[0] - 24 - ow, 24)
        drag(on_view(ox + ow / 2, oy + oh / 2), on_view(target[0] + ow / 2, target[1] + oh / 2))

        x.move_pointer(*(int(v) for v in in_window(frame.width / scale / 2, frame.height / scale - 16)))
        time.sleep(1.5)
        shot = session.scratch("editor.png")
        x.screenshot(shot, editor.id)
        subprocess.run(["convert", shot, "-strip", "-define", "png:compression-level=9", out_path], check=True)
    finally:
        session.close()


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build-dir", default=os.path.join(os.path.dirname(HERE), "build"))
    args = parser.parse_args()
    shoot(args.build_dir, 1, os.path.join(HERE, "editor.png"))
    shoot(args.build_dir, 2, os.path.join(HERE, "editor@2x.png"))
    print("wrote docs/editor.png and docs/editor@2x.png")


if __name__ == "__main__":
    shutil.which("convert") or sys.exit("needs ImageMagick's convert")
    main()
